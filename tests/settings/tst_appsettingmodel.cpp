#include "account/threadmanager.h"
#include "base/json.h"
#include "imlog/imlog.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"
#include "support/facts.h"
#include "support/files.h"
#include "support/loglines.h"
#include "support/settingtable.h"
#include "support/signallog.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QJSEngine>
#include <QLoggingCategory>
#include <QQmlEngine>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

#include <cmath>
#include <future>
#include <optional>
#include <thread>

using namespace Qt::StringLiterals;

namespace
{

AppDirManager *dirs()
{
    return AppDirManager::instance();
}
AppSettingModel *model()
{
    return AppSettingModel::instance();
}

/// The application object as a client makes it.
class Application : public QGuiApplication
{
    Q_OBJECT
public:
    using QGuiApplication::QGuiApplication;
    Q_INVOKABLE void switchLanguage(const QString &language)
    {
        foreignEvents += QThread::currentThread() != thread();
        languages.append(language);
        Q_EMIT languageSwitched();
    }
    bool event(QEvent *event) override
    {
        foreignEvents += QThread::currentThread() != thread();
        return QGuiApplication::event(event);
    }
    QStringList languages;
    std::atomic<int> foreignEvents = 0; ///< what another thread delivered

Q_SIGNALS:
    void languageSwitched();
};

Application *app()
{
    return static_cast<Application *>(QCoreApplication::instance());
}

/// What another process would find in the store now.
QHash<QString, storage::SettingInfo> storedRows()
{
    storage::GlobalStorageProvider provider;
    provider.open();
    QHash<QString, storage::SettingInfo> rows;
    for (const storage::SettingInfo &info : provider.settingStorage()->allInfos())
        rows.insert(info.key, info);
    return rows;
}

void store(const QList<storage::SettingInfo> &infos)
{
    storage::GlobalStorageProvider provider;
    QVERIFY(provider.open());
    QVERIFY(provider.settingStorage()->apply({true, {}, infos}));
}

void restart()
{
    AppSettingModel::releaseInstance();
    model()->loadGlobalData();
}

bool debugEnabled(const char *category)
{
    return QLoggingCategory(category).isDebugEnabled();
}

} // namespace

class TestAppSettingModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        AppSettingModel::releaseInstance();
        store({});
        model()->loadGlobalData();
    }
    void cleanup()
    {
        AppSettingModel::releaseInstance();
        ThreadManager::getInstance()->quitAll();
        QLoggingCategory::setFilterRules({});
    }
    void everySetting()
    {
        const SettingTable table{
            [] { return static_cast<QObject *>(model()); }, restart,
            [] {
                QVariantMap values;
                for (const storage::SettingInfo &row : storedRows())
                    values.insert(row.key, row.value);
                return values;
            },
            [] {
                store({});
                restart();
            },
            [](const QByteArray &name) {
                return name == "language" ? u"(the system's)"_s
                    : name == "openFilePath" && model()->openFilePath() == dirs()->documentDir()
                    ? u"(documents)"_s
                    : name == "cacheDataPath"
                        && model()->cacheDataPath() == dirs()->defaultCacheDataDir()
                    ? u"(application data)"_s
                    : QString();
            }};
        SettingTable::compare(table.lines(), QFINDTESTDATA("appsettings.txt"));
    }

    void settingsWithoutAProperty()
    {
        const auto all = [] {
            const AppSettingModel *m = model();
            // clang-format off
            return QVariantList{
                m->themeColor(), m->gradientColor(), m->gradientStartColor(),
                m->chatBackgroundMode(), m->selectedLanguage(), m->appIconPath(),
                m->oldCacheDataPath(), m->lastDumpLogTime(), m->uploadFileSizeLimit(),
                m->lastDeviceIds(), m->newDeviceLoginRemind(), m->movedDataInfo(),
                m->serverConfig(), m->containsCustomThemeInfo(),
                m->containsAutoDownloadSetting()};
            // clang-format on
        };
        const QByteArray none;
        app()->setProperty("productColor", u"#123456"_s);
        QCOMPARE(all(),
                 (QVariantList{u"#123456"_s, u""_s, u""_s, 0, u""_s,
                               u":/resource/image/icon/logo_im_light.ico"_s, u""_s, 0, 1610612736,
                               none, none, none, none, false, false}));

        const QByteArray bytes("\0\xff{", 3);
        model()->setLastDeviceIds(bytes);
        model()->setNewDeviceLoginRemind(bytes + '1');
        model()->setMovedDataInfo(bytes + '2');
        model()->setServerConfig(bytes + '3', true);
        model()->setOldCacheDataPath(u"/old"_s);
        model()->setLastDumpLogTime(1LL << 40);
        model()->setUploadFileSizeLimit(1LL << 41);
        model()->setAppIcon(u"other"_s);
        model()->setLanguage(u"fr_FR"_s);
        for (const char *key : {"gradient_color", "gradient_start_color", "theme_color"}) {
            QVERIFY(model()->setValue(QLatin1StringView(key), QLatin1StringView(key), true));
            QVERIFY(model()->containsCustomThemeInfo());
        }
        model()->setValue(u"chat_background_mode"_s, 7, true);
        const auto rows = storedRows();
        const QMap<QString, QVariant> expected{
            {u"last_device_ids"_s, bytes},         {u"new_device_login_remind"_s, bytes + '1'},
            {u"moved_data_info"_s, bytes + '2'},   {u"server_config"_s, bytes + '3'},
            {u"old_cache_data_path"_s, u"/old"_s}, {u"last_dump_log_time"_s, 1LL << 40},
            {u"file_size_limit"_s, 1LL << 41}};
        for (auto row = expected.begin(); row != expected.end(); ++row) {
            QCOMPARE(rows[row.key()].value, row.value());
            QCOMPARE(rows[row.key()].value.typeId(), row.value().typeId());
        }
        restart();
        QCOMPARE(
            all(),
            (QVariantList{u"theme_color"_s, u"gradient_color"_s, u"gradient_start_color"_s, 7,
                          u"fr_FR"_s, u":/resource/image/icon/other.ico"_s, u"/old"_s, 1LL << 40,
                          1LL << 41, bytes, bytes + '1', bytes + '2', bytes + '3', true, false}));
        model()->setAutoDownloadMedia(false);
        QVERIFY(model()->containsAutoDownloadSetting());
    }

    void wrongTypesInTheStoreAreConverted()
    {
        // What JSON cannot say, in place of a text.
        const QMap<QString, QVariant> odd{
            {u"bytes"_s, "\x01\x02"_ba}, {u"not a number"_s, std::nan("")}, {u"all bits"_s, ~0ull}};
        const auto value = [](const QString &json) {
            return jsonToList(QByteArray("[" + json.toUtf8() + "]")).value(0);
        };
        QList<storage::SettingInfo> infos{{u"upgrade"_s, QVariantList{1}, u"\x01{rubbish"_s}};
        const QStringList lines = facts(u"appwrongtypes.txt"_s);
        QVERIFY(lines.size() > 20);
        for (const QString &line : lines) {
            const QVariant stored = value(line.section(u" | "_s, 1, 1));
            infos.append({line.section(u" | "_s, 0, 0), odd.value(stored.toString(), stored), {}});
        }
        store(infos);
        restart();
        for (const QString &line : lines) {
            const QByteArray name = line.section(u" | "_s, 2, 2).toLatin1();
            QVERIFY2(model()->property(name) == value(line.section(u" | "_s, 3)), qPrintable(line));
        }
        model()->setValue(u"last_device_ids"_s, u"abc"_s, false);
        QCOMPARE(model()->lastDeviceIds(), QByteArray("abc"));
        QCOMPARE(model()->upgradeInfo().value(u"remark"_s), u"\x01{rubbish"_s);
    }

    void noSizeOfAFont()
    {
        const int height = model()->lineHeigt();
        for (const QVariant &size : {QVariant(0), QVariant(1001), QVariant(1e10),
                                     QVariant(std::nan("")), QVariant(u"big"_s)}) {
            store({{u"theme_font_size"_s, size, {}}});
            app()->setFont(QFont());
            restart();
            QCOMPARE(model()->themeFontSize(), 14);
            QCOMPARE(app()->font().pixelSize(), 14);
            QCOMPARE(app()->property("fontPixelSize"), 14);
            QCOMPARE(model()->lineHeigt(), height);
        }
        for (const int size : {0, 1001}) {
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u" no font size"_s));
            model()->setThemeFontSize(size);
            QCOMPARE(model()->themeFontSize(), 14);
        }
        model()->setThemeFontSize(1000);
        QCOMPARE(model()->themeFontSize(), 1000);
    }

    /// Where a slot on the thread of the change looks.
    void theLineHeightIsThereWithTheSignal()
    {
        const auto heightAt = [](int size) {
            QFont font = app()->font();
            font.setPixelSize(size);
            return int(QFontMetricsF(font).height());
        };
        int seen = 0;
        connect(
            model(), &AppSettingModel::themeFontSizeChanged, this,
            [&] { seen = model()->lineHeigt(); }, Qt::DirectConnection);
        model()->setThemeFontSize(40);
        QCOMPARE(seen, heightAt(40));
        std::thread([] { model()->setThemeFontSize(60); }).join();
        QCOMPARE(seen, heightAt(60));
        QCoreApplication::processEvents();
        QCOMPARE(model()->lineHeigt(), heightAt(60));
    }

    void theApplicationIsChangedOnItsOwnThread()
    {
        // Whoever makes the model.
        AppSettingModel::releaseInstance();
        std::thread([] { model(); }).join();
        model()->loadGlobalData();
        app()->languages.clear();
        app()->setProperty("autoRun", true);
        model()->setThemeFontSize(40);
        QList<int> sizes;
        connect(model(), &AppSettingModel::themeFontSizeChanged, app(),
                [&] { sizes.append(app()->font().pixelSize()); });
        app()->foreignEvents = 0;
        std::thread([] {
            model()->setThemeFontSize(50);
            model()->setLanguage(u"fr_FR"_s);
            model()->setAccountIds({}); // which resets
        }).join();
        QCOMPARE(app()->font().pixelSize(), 40);
        QVERIFY(app()->languages.isEmpty());
        QCoreApplication::processEvents();
        QCOMPARE(app()->foreignEvents, 0);
        QCOMPARE(app()->property("autoRun"), false);
        QCOMPARE(app()->languages, QStringList{model()->language()});
        // A slot there finds the font set; the reset came before it, too.
        QCOMPARE(sizes, (QList<int>{14, 14}));
    }

    void loadingPreparesTheApplication()
    {
        store({{u"theme_font_size"_s, 30, {}},
               {u"language"_s, u"pt_BR"_s, {}},
               {u"screenCaptureHotKey"_s, QByteArray("{\"a\":1}"), {}},
               {u"upgrade"_s, u"3.1"_s, u"notes"_s}});
        app()->languages.clear();
        SignalLog order{{model()}};
        QSignalSpy capture(model(), &AppSettingModel::screenCaptureHotkeyChanged);
        // A slot may read what it is told about.
        QVariantMap upgrade;
        connect(model(), &AppSettingModel::upgradeInfoChanged, this,
                [&] { upgrade = model()->upgradeInfo(); });
        model()->setDebug(true, false);
        model()->loadGlobalData();
        QCOMPARE(model()->debug(), false);
        QCOMPARE(app()->font().pixelSize(), 30);
        QCOMPARE(model()->lineHeigt(), int(QFontMetricsF(app()->font()).height()));
        QCOMPARE(app()->property("fontPixelSize"), 30);
        QCOMPARE(app()->languages, QStringList{u"pt_BR"_s});
        QCOMPARE(capture[0][0].toMap(), (QVariantMap{{u"a"_s, 1LL}}));
        QCOMPARE(upgrade, (QVariantMap{{u"value"_s, u"3.1"_s}, {u"remark"_s, u"notes"_s}}));
        QCOMPARE(order.take(),
                 u"debugChanged upgradeInfoChanged screenCaptureHotkeyChanged "
                 "screenRecordHotkeyChanged showImHotkeyChanged"_s);
        model()->setUpgradeInfo({{u"value"_s, u"2.0"_s}, {u"remark"_s, u"faster"_s}});
        QCOMPARE(storedRows().value(u"upgrade"_s).value, u"2.0"_s);
        QCOMPARE(storedRows().value(u"upgrade"_s).remark, u"faster"_s);
    }

    /// Without a choice, the system's, as the application has it: de_AT, see main().
    void theSystemsLanguage()
    {
        for (const auto &[known, taken] : {std::pair{u"de_DE"_s, u"de_DE"_s},
                                           {u"de_AT"_s, u"de_AT"_s},
                                           {u"en_US"_s, u"de_AT"_s}}) {
            app()->setProperty("availableLanguages", QStringList{u"en_US"_s, known});
            QCOMPARE(model()->language(), taken);
        }
    }

    void bracketedKeysAnnounceBothSides()
    {
        for (const auto &[name, key] :
             {std::pair{"largeEmoji", u"large_emoji"_s}, {"plainModel", u"plain_model"_s}}) {
            const bool fallback = model()->property(name).toBool();
            SignalLog order{{model()}};
            QSignalSpy begin(model(), &AppSettingModel::beginConfig);
            QSignalSpy end(model(), &AppSettingModel::endConfig);
            QVariantList seen;
            std::future<void> reader;
            order.atEach = [&, name = name] {
                seen.append(model()->property(name));
                // Other threads have to wait until the change is done.
                if (!reader.valid())
                    reader = std::async(std::launch::async, [] { model()->darkMode(); });
                if (seen.size() < 3)
                    QCOMPARE(reader.wait_for(std::chrono::milliseconds(50)),
                             std::future_status::timeout);
            };
            QVERIFY(model()->setProperty(name, !fallback));
            reader.wait();
            QCOMPARE(order.take(),
                     u"beginConfig endConfig %1Changed"_s.arg(QLatin1StringView(name)));
            QCOMPARE(begin[0], (QVariantList{key, QVariant()}));
            QCOMPARE(end[0], (QVariantList{key, !fallback}));
            QCOMPARE(seen, (QVariantList{fallback, !fallback, !fallback}));
        }
    }

    void valuesThatSettersTurnIntoOthers()
    {
        for (const auto &[given, taken] : {std::pair{900, 480}, {100, 320}}) {
            QSignalSpy width(model(), &AppSettingModel::infoPanelWidthChanged);
            model()->setInfoPanelWidth(given);
            QCOMPARE(model()->getValue(u"infoPanelWidth"_s, {}), taken);
            QCOMPARE(width, QList<QVariantList>{{taken}});
        }
        QSignalSpy keys(model(), &AppSettingModel::sendMessageKeysChanged);
        model()->setSendMessageKeys(u""_s);
        QCOMPARE(keys.size(), 0);
        QCOMPARE(model()->sendMessageKeys(), u"16777221"_s);

        // What JSON cannot say is announced as it reads back, what it can say as it came.
        QSignalSpy hotkey(model(), &AppSettingModel::screenCaptureHotkeyChanged);
        model()->setScreenCaptureHotkey({{u"size"_s, 3}, {u"bytes"_s, QByteArray("b")}});
        QCOMPARE(hotkey[0][0].toMap().value(u"size"_s).typeId(), QMetaType::LongLong);
        QCOMPARE(hotkey[0][0].toMap(), model()->screenCaptureHotkey());
        QSignalSpy record(model(), &AppSettingModel::screenRecordHotkeyChanged);
        model()->setScreenRecordHotkey({{u"size"_s, 3}});
        QCOMPARE(record[0][0].toMap().value(u"size"_s).typeId(), QMetaType::Int);
    }

    void anEmptyProxyListSwitchesTheProxyOff()
    {
        for (const auto &[list, state] :
             {std::pair{u"[1]"_s, 2}, {u"[]"_s, 0}, {u"[]"_s, 0}, {u""_s, 0}}) {
            model()->setNetworkProxyState(2);
            model()->setNetworkProxyList(list, false);
            QCOMPARE(model()->networkProxyState(), state);
        }
        restart();
        QCOMPARE(model()->networkProxyState(), 0);
    }

    void consoleOptionsComeIntoForce()
    {
        // The default applies nothing.
        QLoggingCategory::setFilterRules(u"im.ui.debug=false"_s);
        const QString fallback = model()->consoleOptions();
        QVERIFY(!debugEnabled("im.ui"));
        QSignalSpy changed(model(), &AppSettingModel::consoleOptionsChanged);
        for (int i = 0; i < 2; ++i)
            model()->changeConsoleOption(u"im.network"_s, false);
        QVERIFY(debugEnabled("im.ui") && !debugEnabled("im.network"));
        QCOMPARE(changed.size(), 1);
        const QString options = model()->consoleOptions();
        QCOMPARE(changed[0][0], options);

        // What is read is completed, and nothing of that is stored.
        const QString stored = u"[{\"enable\":false,\"uri\":\"im.ui\"}]"_s;
        model()->setConsoleOptions(stored);
        restart();
        QVERIFY(debugEnabled("im.ui"));
        QCOMPARE(model()->consoleOptions().count(u"uri"), fallback.count(u"uri"));
        QVERIFY(!debugEnabled("im.ui"));
        QCOMPARE(model()->getValue(u"console_options"_s, {}), stored);
    }

    void skinTones()
    {
        const QString hand = u"\u270B"_s;
        model()->setEmojiSkinIndex(hand, 3);
        restart();
        QCOMPARE(model()->emojiSkinIndex(hand), 3);
        QVERIFY(model()->getValue(u"emoji_skin_indexes"_s, {}).toString().contains(u'\n'));
        model()->setGlobalSkinIndex(2, false);
        QCOMPARE(model()->globalSkinIndex(), 2);
        QCOMPARE(model()->emojiSkinIndex(hand), -1);
        // A write past the setter counts as well, and so does a reset.
        model()->setValue(u"emoji_skin_indexes"_s, u"{\"\u270B\": 4}"_s, true);
        QCOMPARE(model()->emojiSkinIndex(hand), 4);
        model()->reset();
        QCOMPARE(model()->emojiSkinIndex(hand), -1);
    }

    void plainValues()
    {
        const QVariant fallback = 7;
        QCOMPARE(&model()->getValue(u"a"_s, fallback), &fallback);
        QVERIFY(model()->setValue(u"a"_s, 7, true));
        QVERIFY(!model()->setValue(u"a"_s, 7, true));
        // A reference outlives the coming of other settings.
        const QVariant &a = model()->getValue(u"a"_s, {});
        for (int i = 0; i < 1000; ++i)
            model()->setValue(QString::number(i), i, false);
        QCOMPARE(&model()->getValue(u"a"_s, {}), &a);
        QCOMPARE(a, 7);
        QVERIFY(!storedRows().contains(u"1"_s));
        model()->removeKey(u"a"_s);
        QVERIFY(!model()->getValue(u"a"_s, {}).isValid() && !storedRows().contains(u"a"_s));
        // Several rows are stored together or not at all.
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u" cannot be stored: c"_s));
        model()->saveToConfig({{u"b"_s, 1}, {u"c"_s, QVariant::fromValue<QObject *>(this)}});
        QVERIFY(!storedRows().contains(u"b"_s));
        // What is no number is one and the same.
        for (const QVariant &nan : {QVariant(std::nan("")), QVariant(QVariantList{1, std::nan("")}),
                                    QVariant(QPointF(1, std::nan("")))}) {
            QVERIFY(model()->setValue(u"nan"_s, nan, true));
            QVERIFY(!model()->setValue(u"nan"_s, nan, true));
        }

        model()->setCountMuteDialog(true);
        model()->setUnreadMessagesCounter(true);
        restart();
        QVERIFY(model()->countMuteDialog() && model()->unreadMessagesCounter());
        model()->resetBadgeCounter();
        QVERIFY(!model()->countMuteDialog() && !model()->unreadMessagesCounter());
    }

    /// In a map, too; it lives on without the engine.
    void scriptsHandDataOver()
    {
        const QString script = u"({list: [1, 'x', , null], at: new Date(1700000000123)})"_s;
        const QVariantMap data{
            {u"list"_s, QVariantList{1, u"x"_s, QVariant(), QVariant::fromValue(nullptr)}},
            {u"at"_s, QDateTime::fromMSecsSinceEpoch(1700000000123)}};
        auto engine = std::make_unique<QJSEngine>();
        QVERIFY(
            model()->setValue(u"script"_s, QVariant::fromValue(engine->evaluate(script)), true));
        QVariantMap told;
        connect(model(), &AppSettingModel::showImHotkeyChanged, this,
                [&](const QVariantMap &map) { told = map; });
        model()->setShowImHotkey({{u"a"_s, QVariant::fromValue(engine->evaluate(u"['x']"_s))}});
        engine.reset();
        QCOMPARE(told, (QVariantMap{{u"a"_s, QVariantList{u"x"_s}}}));
        QCOMPARE(model()->getValue(u"script"_s, {}), data);
        restart();
        QCOMPARE(model()->getValue(u"script"_s, {}), data);
        QCOMPARE(model()->showImHotkey(), told);
    }

    /// It is neither kept in memory nor stored, and what is stored with it is not held up.
    void whatNoRowHoldsIsRefused()
    {
        QJSEngine engine;
        QVariantList values{QVariant::fromValue<QObject *>(this)};
        for (const QString &script :
             {u"(function() {})"_s, u"({a: [1, {b: () => 1}]})"_s,
              u"(() => { let a = {}; a.a = [a]; return a; })()"_s,
              u"(() => { let a = 1; for (let i = 0; i < 101; ++i) a = [a]; return a; })()"_s,
              u"(() => { let a = 1; for (let i = 0; i < 90; ++i) a = [a, a]; return a; })()"_s,
              u"(() => { let a = []; a[4294967294] = 1; return a; })()"_s, u"/a+/"_s,
              u"Symbol('a')"_s, u"new Error('a')"_s})
            values.append(QVariant::fromValue(engine.evaluate(script)));
        const QString key = u"image_edit_tool"_s;
        const SignalLog order{{model()}};
        LogLines log("im.settingmodel");
        for (const QVariant &value : std::as_const(values)) {
            QVERIFY(!model()->setValue(key, value, true));
            model()->setImageEditTool({{u"a"_s, value}});
            model()->setScreenCaptureHotkey({{u"a"_s, value}});
            model()->setUpgradeInfo({{u"value"_s, value}});
            model()->setAccountIds({value});
            model()->setSettingSearchHistory({value});
            QCOMPARE(log.takeTexts().filter(u" cannot be stored: "_s).size(), 6);
        }
        QCOMPARE(order.names(), QStringList());
        model()->setCountMuteDialog(true);
        QCOMPARE(storedRows().keys(), QStringList{u"count_mute_dialog"_s});
        QVERIFY(!model()->getValue(key, {}).isValid());
    }

    void resetAnnouncesInOrder()
    {
        QMap<QByteArray, QVariant> fallbacks;
        const QMetaObject *meta = model()->metaObject();
        for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
            const QByteArray name = meta->property(i).name();
            fallbacks[name] = model()->property(name);
        }
        for (const QByteArray &name : fallbacks.keys()) {
            if (name != "consoleOptions")
                model()->setProperty(name, SettingTable::otherValue(name, fallbacks[name]));
        }
        fallbacks.remove("requestUserLocation"); // which stays
        fallbacks.remove("language");            // which is the system's again
        model()->setServerConfig("config", true);
        app()->languages.clear();
        SignalLog order{{app(), model()}};
        QSignalSpy width(model(), &AppSettingModel::infoPanelWidthChanged);
        QSignalSpy tools(model(), &AppSettingModel::accountIdsChanged);
        std::optional<LogLines> lines(std::in_place);
        model()->reset();
        const QStringList told = lines->takeTexts();
        lines.reset();
        // In the file of the log, too, as notable steps are.
        const QString line = u"AppSettingModel::resetAppSetting"_s;
        QCOMPARE(told.filter(line), QStringList{u"im.settingmodel: "_s + line});
        ImLog::instance()->flush();
        QVERIFY(contents(ImLog::instance()->directory() + u"/im.log"_s).contains(line.toUtf8()));

        // The application's font changes with the theme's, at any time.
        QStringList announced = order.names();
        announced.removeAll(u"fontChanged"_s);
        SettingTable::compare(announced, QFINDTESTDATA("appreset.txt"));
        QCOMPARE(width[0][0], 320);
        QCOMPARE(tools[0][0], QVariant(QVariantList()));
        QCOMPARE(app()->languages, QStringList{model()->language()});
        QCOMPARE(app()->property("autoRun"), false);
        QCOMPARE(app()->font().pixelSize(), 14);

        for (int start = 0; start < 2; ++start) {
            for (auto it = fallbacks.cbegin(); it != fallbacks.cend(); ++it)
                QCOMPARE(model()->property(it.key()), it.value());
            restart();
        }
        QCOMPARE(storedRows().keys().size(), 2);
        QCOMPARE(storedRows().value(u"database_version"_s).value, 1);
        QCOMPARE(storedRows().value(u"server_config"_s).value, QByteArray("config"));
    }

    void aResetInAHandlerOfAReset()
    {
        QSignalSpy reset(model(), &AppSettingModel::paramsBeReseted);
        connect(model(), &AppSettingModel::darkModeChanged, this, [] { model()->reset(); });
        connect(model(), &AppSettingModel::paramsBeReseted, this, [&] {
            if (reset.size() == 1)
                model()->setSaveasPath(u"a"_s);
            model()->setAccountIds({});
        });
        QStringList announced;
        connect(model(), &AppSettingModel::saveasPathChanged, this,
                [&](const QString &path) { announced.append(path); });
        model()->reset();
        // Nothing of what was set meanwhile is left, and everybody has been told.
        QCOMPARE(model()->saveasPath(), u""_s);
        QVERIFY(!storedRows().contains(u"saveas_path"_s));
        QCOMPARE(reset.size(), 2);
        QCOMPARE(announced, (QStringList{u""_s, u"a"_s, u""_s}));
    }

    void severalRowsAreStoredInOneStep()
    {
        model()->setDarkMode(true);
        model()->setValue(u"database_version"_s, 9, true);
        model()->setServerConfig("config", true);
        SQLite::Database store(model()->globalStorage()->filePath().toStdString(),
                               SQLite::OPEN_READWRITE, 2000);
        store.exec("CREATE TRIGGER bad BEFORE INSERT ON settings WHEN NEW.key = 'server_config'"
                   " BEGIN SELECT RAISE(ABORT, 'bad'); END");
        model()->saveToConfig({{u"before"_s, 1}, {u"server_config"_s, QByteArray("other")}});
        QVERIFY(!storedRows().contains(u"before"_s));
        model()->reset();
        QCOMPARE(storedRows().value(u"dark_mode"_s).value, true);
        QCOMPARE(storedRows().value(u"server_config"_s).value, QByteArray("config"));
        store.exec("DROP TRIGGER bad");
        QVERIFY(model()->flush());
        QCOMPARE(storedRows().size(), 2);
        QCOMPARE(storedRows().value(u"database_version"_s).value, 9);
        QCOMPARE(storedRows().value(u"server_config"_s).value, QByteArray("config"));
        // Nobody is signed out by a kill before those who stay have been stored again.
        model()->setAccountIds({7});
        QByteArray meanwhile;
        connect(model(), &AppSettingModel::darkModeChanged, model(),
                [&] { meanwhile = storedRows().value(u"accounts"_s).value.toByteArray(); });
        model()->reset();
        QCOMPARE(meanwhile, "[7]");
        QVERIFY(!storedRows().contains(u"accounts"_s));
    }
};

int main(int argc, char **argv)
{
    // The system's language is Austrian German, whether or not the machine knows it.
    qunsetenv("LC_ALL");
    qputenv("LC_CTYPE", "C.UTF-8");
    qputenv("LANG", "de_AT.UTF-8");
    Application application(argc, argv);
    TestAppSettingModel test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_appsettingmodel.moc"
