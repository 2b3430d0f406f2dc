#include <QFileInfo>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

using namespace Qt::StringLiterals;

namespace
{

struct Message {
    QString source;
    QString state; // "" when it is finished
    bool isPlural = false;
    QStringList forms; // one, but for a plural
};

using Messages = QMap<QString, Message>;

Messages read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    Messages messages;
    QString id;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        Message &message = messages[id];
        if (xml.name() == u"message"_s) {
            id = xml.attributes().value(u"id"_s).toString();
            messages[id].isPlural = xml.attributes().hasAttribute(u"numerus"_s);
        } else if (xml.name() == u"source"_s) {
            message.source = xml.readElementText();
        } else if (xml.name() == u"translation"_s) {
            message.state = xml.attributes().value(u"type"_s).toString();
            if (!message.isPlural)
                message.forms = {xml.readElementText()};
        } else if (xml.name() == u"numerusform"_s) {
            message.forms.append(xml.readElementText());
        }
    }
    messages.remove(QString());
    return messages;
}

/// "%1", "%2" and so on, sorted; "%n" apart.
QStringList placeholders(const QString &text)
{
    static const QRegularExpression placeholder(u"%L?[0-9]+"_s);
    QStringList found;
    for (const auto &match : placeholder.globalMatch(text))
        found.append(match.captured());
    found.sort();
    return found;
}

/// Of each plural form of a language, whether it stands for a single number, which may then be said
/// by a word.
QList<bool> pluralForms(const QString &language)
{
    static const QMap<QString, QList<bool>> forms = {
        {u"en"_s, {true, false}},
        {u"ar"_s, {true, true, true, false, false, false}},
        {u"zh"_s, {false}},
    };
    return forms.value(language);
}

} // namespace

/// One catalogue: the texts of the code against those of the .ts files. Their places come in the
/// environment, as lists with "|".
class TestCatalogue : public QObject
{
    Q_OBJECT

private:
    Messages m_used;

private Q_SLOTS:
    void initTestCase()
    {
        const QTemporaryDir dir;
        const QString scratch = dir.filePath(u"scratch_en.ts"_s);
        QProcess lupdate;
        lupdate.start(qEnvironmentVariable("LUPDATE"),
                      QStringList{u"-silent"_s, u"-extensions"_s, u"cpp,h,qml"_s}
                          + qEnvironmentVariable("FOLDERS").split(u'|')
                          + QStringList{u"-ts"_s, scratch});
        QVERIFY(lupdate.waitForFinished(120'000));
        QCOMPARE(lupdate.exitCode(), 0);
        const QByteArray complaints = lupdate.readAllStandardError();
        QVERIFY2(!complaints.contains(" id "), complaints);
        m_used = read(scratch);
        QVERIFY(!m_used.isEmpty());
        for (auto message = m_used.cbegin(); message != m_used.cend(); ++message)
            QVERIFY2(!message->source.isEmpty(), qPrintable(message.key()));
    }

    void everyTextIsTranslated_data()
    {
        QTest::addColumn<QString>("path");
        for (const QString &path : qEnvironmentVariable("TS_FILES").split(u'|'))
            QTest::newRow(qPrintable(QFileInfo(path).fileName())) << path;
    }
    void everyTextIsTranslated()
    {
        QFETCH(QString, path);
        const Messages messages = read(path);
        QCOMPARE(messages.keys(), m_used.keys());
        const QString language = QFileInfo(path).completeBaseName().section(u'_', -1);
        const QList<bool> forms = pluralForms(language);
        QVERIFY(!forms.isEmpty());

        for (auto it = m_used.cbegin(); it != m_used.cend(); ++it) {
            const QByteArray id = it.key().toUtf8();
            const Message message = messages.value(it.key());
            QVERIFY2(message.source == it->source && message.isPlural == it->isPlural, id);
            QVERIFY2(message.state.isEmpty(), id);
            QVERIFY2(message.forms.size() == (message.isPlural ? forms.size() : 1), id);
            for (qsizetype i = 0; i < message.forms.size(); ++i) {
                const QString &form = message.forms.at(i);
                QVERIFY2(!form.trimmed().isEmpty(), id);
                QVERIFY2(placeholders(form) == placeholders(it->source), id);
                const bool hasNumber = form.contains(u"%n"_s);
                QVERIFY2(message.isPlural ? hasNumber || forms.at(i) : !hasNumber, id);
                if (language != u"en"_s)
                    QVERIFY2(form != it->source || form.toUpper() == form, id);
                else if (!message.isPlural)
                    QVERIFY2(form == it->source, id);
            }
        }
    }
};

QTEST_APPLESS_MAIN(TestCatalogue)
#include "tst_catalogue.moc"
