#include "content/items/callitem.h"
#include "content/items/systemitem.h"
#include "i18n/translated_p.h"
#include "i18n/translations.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "settings/appsettingmodel.h"

#include "support/facts.h"
#include "support/signallog.h"

#include <google/protobuf/text_format.h>

#include <QGuiApplication>
#include <QProcess>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTranslator>

#include <atomic>

using namespace Qt::StringLiterals;

namespace
{

using Alert = im::content::SystemAlert;

AppSettingModel *settings()
{
    return AppSettingModel::instance();
}

/// Anna has removed Ben.
Alert removal()
{
    Alert alert;
    alert.set_type(Alert::MEMBER_KICKED);
    alert.mutable_operator_()->set_name("Anna");
    alert.add_targets()->set_name("Ben");
    return alert;
}

// A name in letters of another direction is shut off from the sentence around it.
const QString arabicRemoval = u"أزال \u2068Anna\u2069 \u2068Ben\u2069 من المجموعة"_s;
const QString chineseRemoval = u"Anna 移除了 Ben"_s;
const QString englishRemoval = u"Anna removed Ben"_s;

/// Texts of the application's own.
class Wording : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *, const char *id, const char *, int) const override
    {
        return qstrcmp(id, "call_missed") == 0 ? u"Verpasst"_s : QString();
    }
};

/// Compiles a catalogue of id-based texts.
bool makeTexts(const QString &path, const QString &language, const QMap<QString, QString> &texts)
{
    QFile file(path + u".ts"_s);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QString ts = u"<TS version=\"2.1\" language=\"%1\"><context><name/>"_s.arg(language);
    for (auto text = texts.cbegin(); text != texts.cend(); ++text) {
        ts += u"<message id=\"%1\"><source/><translation>%2</translation></message>"_s.arg(
            text.key(), text.value());
    }
    file.write((ts + u"</context></TS>"_s).toUtf8());
    file.close();
    return QProcess::execute(
               QStringLiteral(LRELEASE),
               {u"-idbased"_s, u"-silent"_s, file.fileName(), u"-qm"_s, path + u".qm"_s})
        == 0;
}

} // namespace

class TestTranslations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { settings()->loadGlobalData(); }
    void cleanup()
    {
        settings()->reset();
        AppSettingModel::releaseInstance();
    }

    void languages()
    {
        for (const QString &line : facts(u"sentences.txt"_s)) {
            settings()->setLanguage(line.section(u'\t', 0, 0));
            Alert alert;
            QVERIFY(google::protobuf::TextFormat::ParseFromString(
                line.section(u'\t', 2).toStdString(), &alert));
            SystemItem item(1, nullptr);
            item.setInfo(alert);
            QCOMPARE(item.text(), line.section(u'\t', 1, 1));
        }
    }

    void shownTextsFollow()
    {
        SystemItem alert(1, nullptr);
        alert.setInfo(removal());
        CallItem call(1, nullptr);
        call.setState(CallItem::TimeOut);
        ContentItem text(1, nullptr);
        SignalLog log{&alert, &call, &text};

        settings()->setLanguage(u"ar"_s);
        QStringList told = log.names();
        told.sort();
        QCOMPARE(told, (QStringList{u"needRecalcSize"_s, u"textChanged"_s, u"textChanged"_s}));
        log.take();
        QCOMPARE(alert.text(), arabicRemoval);
        QCOMPARE(call.text(), u"مكالمة فائتة"_s);
        QVERIFY(alert.text().isRightToLeft());

        settings()->setLanguage(u"zh_CN"_s);
        QCOMPARE(alert.text(), chineseRemoval);
        QVERIFY(!log.take().isEmpty());
        settings()->setLanguage(u"zh_CN"_s);
        QCOMPARE(log.take(), QString());
        settings()->setLanguage(u"tlh"_s);
        QCOMPARE(alert.text(), englishRemoval);
        QVERIFY(!log.take().isEmpty());

        // What a record words itself is in no language of ours.
        SystemItem worded({{u"content"_s, u"old text"_s}}, 1, nullptr);
        SignalLog wordedLog{&worded};
        settings()->setLanguage(u"ar"_s);
        QCOMPARE(wordedLog.take(), QString());
        settings()->reset();
        QCOMPARE(call.text(), u"Missed call"_s);
    }

    void bindingsFollow()
    {
        CallItem call(1, nullptr);
        QQmlEngine engine;
        engine.rootContext()->setContextProperty(u"call"_s, &call);
        QQmlComponent component(&engine);
        component.setData("import QtQml\nQtObject { property string text: call.text }", {});
        const std::unique_ptr<QObject> label(component.create());
        QVERIFY(label);
        QCOMPARE(label->property("text").toString(), u"Call"_s);
        settings()->setLanguage(u"zh"_s);
        QCOMPARE(label->property("text").toString(), u"通话"_s);
    }

    void itemsMayGoWhileTheLanguageChanges()
    {
        const auto kept = std::make_unique<CallItem>(1, nullptr);
        std::vector<std::unique_ptr<CallItem>> others;
        for (int i = 0; i < 3; ++i)
            others.push_back(std::make_unique<CallItem>(1, nullptr));
        int told = 0;
        for (const auto &item : others) {
            connect(item.get(), &CallItem::textChanged, kept.get(), [&] {
                ++told;
                others.clear();
            });
        }
        settings()->setLanguage(u"ar"_s);
        QCOMPARE(told, 1);
        settings()->setLanguage(u"zh"_s);
        QCOMPARE(told, 1);
    }

    void otherThreads()
    {
        QThread worker;
        worker.start();
        CallItem call(1, nullptr);
        call.moveToThread(&worker);
        std::atomic<int> told = 0; // by the worker; a QSignalSpy must not be looked at meanwhile
        connect(&call, &CallItem::textChanged, &call, [&told] { ++told; });
        const std::unique_ptr<QThread> setter(
            QThread::create([] { settings()->setLanguage(u"ar"_s); }));
        setter->start();
        QTRY_COMPARE(told.load(), 1);
        QCOMPARE(call.text(), u"مكالمة"_s);
        setter->wait();
        worker.quit();
        worker.wait();
    }

    void plurals()
    {
        for (const QString &line : facts(u"plurals.txt"_s)) {
            const QStringList fields = line.split(u'\t');
            settings()->setLanguage(fields[0]);
            QCOMPARE(translated("system_alert_days", fields[1].toInt()), fields[2]);
        }
    }

    void datesAreOfTheLanguage()
    {
        SystemItem item(1, nullptr);
        Alert alert;
        alert.set_type(Alert::DISMISS_AT_UPDATED);
        alert.set_dismiss_at(1'700'000'000'000);
        item.setInfo(alert);
        settings()->setLanguage(u"en_GB"_s);
        QVERIFY2(item.text().contains(u"November"_s), qPrintable(item.text()));
        settings()->setLanguage(u"zh_CN"_s);
        QVERIFY2(item.text().contains(u"2023年11月"_s), qPrintable(item.text()));
    }

    void cataloguesOfTheApplication()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(u"sample"_s);
        QVERIFY(makeTexts(path + u"_en"_s, u"en"_s,
                          {{u"sample_all"_s, u"Everywhere"_s}, {u"sample_some"_s, u"Some"_s}}));
        QVERIFY(makeTexts(path + u"_ar"_s, u"ar"_s, {{u"sample_all"_s, u"في كل مكان"_s}}));

        settings()->translations()->add(path);
        QCOMPARE(qtTrId("sample_all"), u"Everywhere"_s);
        settings()->setLanguage(u"ar_EG"_s);
        QCOMPARE(qtTrId("sample_all"), u"في كل مكان"_s);
        QCOMPARE(qtTrId("sample_some"), u"Some"_s);
        settings()->setLanguage(u"zh"_s); // of which it has nothing
        QCOMPARE(qtTrId("sample_all"), u"Everywhere"_s);
        settings()->translations()->add(dir.filePath(u"missing"_s));
        QCOMPARE(qtTrId("call"), u"通话"_s);

        AppSettingModel::releaseInstance();
        QCOMPARE(qtTrId("sample_all"), u"sample_all"_s);
        QCOMPARE(qtTrId("call"), u"call"_s);
        // What the library says itself is never an id.
        QCOMPARE(translated("call"), u"Call"_s);
        QCOMPARE(translated("system_alert_days", 1), u"1 day"_s);
        init();
    }

    void theApplicationsWordingWins()
    {
        Wording german;
        CallItem call(1, nullptr);
        call.setState(CallItem::TimeOut);
        QString shown;
        connect(&call, &CallItem::textChanged, &call, [&] { shown = call.text(); });
        connect(settings(), &AppSettingModel::languageChanged, &call,
                [&] { QCoreApplication::installTranslator(&german); });
        settings()->setLanguage(u"de"_s);
        QCOMPARE(shown, u"Verpasst"_s);
        call.setOutgoing(true);
        QCOMPARE(call.text(), u"No answer"_s);
    }
};

QTEST_MAIN(TestTranslations)
#include "tst_translations.moc"
