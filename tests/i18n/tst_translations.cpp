#include "content/items/callitem.h"
#include "content/items/systemitem.h"
#include "i18n/translated_p.h"
#include "i18n/translations.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "settings/appsettingmodel.h"

#include "support/facts.h"
#include "support/files.h"
#include "support/signallog.h"

#include <google/protobuf/text_format.h>

#include <QGuiApplication>
#include <QProcess>
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
    QString ts = u"<TS version=\"2.1\" language=\"%1\"><context><name/>"_s.arg(language);
    for (auto text = texts.cbegin(); text != texts.cend(); ++text) {
        ts += u"<message id=\"%1\"><source/><translation>%2</translation></message>"_s.arg(
            text.key(), text.value());
    }
    ts += u"</context></TS>"_s;
    const QStringList arguments{u"-idbased"_s, u"-silent"_s, path + u".ts"_s, u"-qm"_s,
                                path + u".qm"_s};
    return write(path + u".ts"_s, ts.toUtf8())
        && QProcess::execute(QStringLiteral(LRELEASE), arguments) == 0;
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
        alert.setInfo(Alert());
        CallItem call(1, nullptr);
        ContentItem text(1, nullptr);
        // What a record words itself is in no language of ours.
        SystemItem worded({{u"content"_s, u"old text"_s}}, 1, nullptr);
        SignalLog log({&alert, &call, &text, &worded});
        for (const auto &[language, shown] :
             {std::pair{u"ar"_s, u"مكالمة"_s}, {u"zh_CN"_s, u"通话"_s}, {u"tlh"_s, u"Call"_s}}) {
            settings()->setLanguage(language);
            QCOMPARE(call.text(), shown);
            QStringList told = log.take().split(u' ');
            told.sort();
            QCOMPARE(told, (QStringList{u"needRecalcSize"_s, u"textChanged"_s, u"textChanged"_s}));
            settings()->setLanguage(language);
            QCOMPARE(log.take(), QString());
        }
        settings()->setLanguage(u"ar"_s);
        settings()->reset();
        QCOMPARE(call.text(), u"Call"_s);
    }

    void itemsMayGoWhileTheLanguageChanges()
    {
        std::vector<std::unique_ptr<CallItem>> items;
        int told = 0;
        for (int i = 0; i < 3; ++i) {
            items.push_back(std::make_unique<CallItem>(1, nullptr));
            connect(items.back().get(), &CallItem::textChanged, this, [&] {
                ++told;
                items.clear();
            });
        }
        settings()->setLanguage(u"ar"_s);
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
