#include "account/threadmanager.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"
#include "support/signallog.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QJSEngine>
#include <QLoggingCategory>
#include <QQmlEngine>
#include <QRegularExpression>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>

#include <future>

using namespace Qt::StringLiterals;

namespace
{

enum class Carries { Value, Nothing, OldAndNew };

AppDirManager *dirs()
{
    return AppDirManager::instance();
}
AppSettingModel *model()
{
    return AppSettingModel::instance();
}

struct Setting {
    const char *name;
    const char *key;
    const char *type;
    QVariant fallback; // invalid: not the same everywhere
    Carries carries = Carries::Value;
};

// Stored data in the field depends on each word of this.
const std::vector<Setting> &settings()
{
    using enum Carries;
    // clang-format off
    static const std::vector<Setting> all = {
        {"updateAutomaticallly", "update_automaticallly", "bool", true},
        {"systemTrayIconVisible", "system_tray_icon_visible", "bool", true},
        {"launchWhenSystemStart", "launch_when_system_start", "bool", false},
        {"messageFontSize", "message_font_size", "int", 12},
        {"language", "language", "QString", {}},
        {"sendMessageKeys", "sendMsgKeys", "QString", u"16777221"_s},
        {"debug", "debug", "bool", false},
        {"networkProxyState", "enable_network_proxy", "int", 0},
        {"currentNetworkProxy", "current_network_proxy", "QString", u"{}"_s},
        {"networkProxyList", "network_proxy_list", "QString", u"[]"_s},
        {"useProxyForCall", "use_proxy_for_call", "bool", false},
        {"themeFontSize", "theme_font_size", "int", 14},
        {"msgDoubleClickAction", "message_double_click_action", "int", 0},
        {"msgSendType", "message_send_type", "int", 0},
        {"musicPlay", "music_play_sequence", "QString", u"{}"_s},
        {"darkMode", "dark_mode", "bool", false},
        {"mainwindowGeometry", "mainwindow_geometry", "QString", u""_s},
        {"fullScreen", "fullScreen", "bool", false, Nothing},
        {"passcode", "passcode", "QString", u""_s},
        {"screenLockTime", "screenlocktime", "int", 3},
        {"screenLockErrorCountDownSeconds", "screenLockErrorCountDownSeconds", "int", 0},
        {"miniSessionMode", "miniSessionMode", "bool", false},
        {"infoPanelViewMode", "infoPanelViewMode", "bool", false},
        {"infoPanelOutdision", "infoPanelOutdision", "bool", false},
        {"infoPanelWidth", "infoPanelWidth", "int", 320},
        {"messageDisplayMode", "messageDisplayMode", "int", 0},
        {"firstDayOfWeek", "firstDayOfWeek", "int", 255},
        {"autoPlayGif", "autoPlayGif", "bool", true},
        {"autoPlayVideo", "autoPlayVideo", "bool", true},
        {"autoPlayLivePhoto", "autoPlayLivePhoto", "bool", true},
        {"screenCapture", "screencapture", "QString", u"1,1,1,1,1,1,0,0,0,0,6,0"_s},
        {"upgradeInfo", "upgrade", "QVariantMap", QVariantMap()},
        {"accountIds", "accounts", "QVariantList", QVariantList()},
        {"currentAccountId", "current_account", "qlonglong", 0},
        {"unlockWithTouchID", "unlockWithTouchID", "bool", false},
        {"appearenceFollowSystemTheme", "appearence_follow_system_theme", "bool", false},
        {"themeColorFollowSystem", "theme_color_follow_system", "bool", false},
        {"saveasPath", "saveas_path", "QString", u""_s},
        {"destructionPasscode", "destruction_passcode", "QString", u""_s},
        {"destructRecoverable", "destruct_recoverable", "bool", false, Nothing},
        {"incognitoPassword", "incognito_password", "QString", u""_s},
        {"screenCaptureHotkey", "screenCaptureHotKey", "QVariantMap", QVariantMap()},
        {"screenRecordHotkey", "screenRecordHotKey", "QVariantMap", QVariantMap()},
        {"showImHotkey", "showImHotKey", "QVariantMap", QVariantMap()},
        {"countMuteDialog", "count_mute_dialog", "bool", false},
        {"unreadMessagesCounter", "unread_messages_counter", "bool", false},
        {"plainModel", "plain_model", "bool", false},
        {"systemFont", "system_font", "bool", false},
        {"appFontFamily", "app_font_family", "QString", u"ff_default"_s, Nothing},
        {"spellChecker", "spell_checker", "bool", true},
        {"openFilePath", "open_file_path", "QString", dirs()->documentDir()},
        {"handleMarkDown", "handle_markdown", "bool", false},
        {"lastUploadLogTime", "last_upload_log_time", "qlonglong", 0},
        {"appIcon", "app_icon", "QString", u"logo_im_light"_s},
        {"largeEmoji", "large_emoji", "bool", true},
        {"imageEditTool", "image_edit_tool", "QVariantMap", QVariantMap()},
        {"imageEditSetting", "image_edit_setting", "QVariantMap", QVariantMap(), Nothing},
        {"whiteboardTool", "whiteboard_tool", "QVariantMap", QVariantMap()},
        {"useStandRouting", "use_stand_routing", "bool", false},
        {"autoDownloadMedia", "auto_download_media", "bool", true},
        {"autoDownloadImagePrivateChats", "auto_download_image_private_chats", "bool", true},
        {"autoDownloadImageGroupChats", "auto_download_image_group_chats", "bool", true},
        {"autoDownloadImageLimit", "auto_download_image_limit", "int", 1 << 20, OldAndNew},
        {"autoDownloadVideoPrivateChats", "auto_download_video_private_chats", "bool", true},
        {"autoDownloadVideoGroupChats", "auto_download_video_group_chats", "bool", true},
        {"autoDownloadVideoLimit", "auto_download_video_limit", "int", 10 << 20, OldAndNew},
        {"autoDownloadFilePrivateChats", "auto_download_file_private_chats", "bool", false},
        {"autoDownloadFileGroupChats", "auto_download_file_group_chats", "bool", false},
        {"autoDownloadFileLimit", "auto_download_file_limit", "int", 10 << 20, OldAndNew},
        {"localCacheMaxSize", "local_cache_max_size", "qlonglong", -1},
        {"reduceAnimation", "reduce_animation", "bool", false},
        {"consoleOptions", "console_options", "QString", {}},
        {"isFirstSendReceipt", "first_send_receipt", "bool", true},
        {"isFirstReadReceipt", "first_read_receipt", "bool", true},
        {"isFirstSwitchAccount", "first_switch_account", "bool", true},
        {"isFirstDropToMyStorage", "first_drop_mystorage", "bool", true},
        {"isFirstScrollMedia", "first_scroll_mddia", "bool", true},
        {"showTrayIcon", "show_tray_icon", "bool", true, Nothing},
        {"messageBubbleCorners", "message_bubble_corners", "int", 18},
        {"requestUserLocation", nullptr, "bool", true, Nothing},
        {"cacheDataPath", "cache_data_path", "QString", dirs()->defaultCacheDataDir(), Nothing},
        {"sessionListWidth", "session_list_width", "int", 296, Nothing},
        {"topicListWidth", "topic_list_width", "int", 225, Nothing},
        {"notiAllAccounts", "noti_all_accounts", "bool", true},
        {"leftSessionItemTools", "left_session_item_tools", "QVariantList", QVariantList{u"mark_as_unread"_s, u"later"_s}, Nothing},
        {"rightSessionItemTools", "right_session_item_tools", "QVariantList", QVariantList{u"pin"_s, u"mute"_s, u"archive"_s}, Nothing},
        {"showInDiscussionOnly", "show_In_discussion_only", "bool", false, Nothing},
        {"contactsSortBySeen", "contacts_sort_by_seen", "bool", false, Nothing},
        {"noNetworkProhibited", "no_network_Prohibited", "bool", false, Nothing},
        {"settingSearchHistory", "setting_search_history", "QVariantList", QVariantList(), Nothing},
        {"darkDims", "dark_dims", "bool", false, Nothing},
        {"globalSkinIndex", "global_skin_index", "int", -1, Nothing},
    };
    // clang-format on
    return all;
}

/// A value of the setting's type that is not its default and comes back from JSON as it was.
QVariant otherValue(const Setting &setting)
{
    const QByteArray type = setting.type;
    if (setting.key == QByteArray("upgrade"))
        return QVariantMap{{u"value"_s, u"2.0"_s}, {u"remark"_s, u"faster"_s}};
    if (type == "bool")
        return !setting.fallback.toBool();
    if (type == "int")
        return setting.fallback.toInt() + 21;
    if (type == "qlonglong")
        return qint64(1) << 53;
    if (type == "QString")
        return u"[\"Grüße\", \"\U0001F600\"]"_s;
    if (type == "QVariantMap")
        return QVariantMap{{u"key"_s, u"Ctrl+Ü"_s}, {u"codes"_s, QVariantList{1LL, 0.5, true}}};
    return QVariantList{9007199254740993LL, u"pin"_s, QVariantMap{{u"a"_s, 1LL}}};
}

/// The application object as a client makes it.
class Application : public QGuiApplication
{
    Q_OBJECT
public:
    using QGuiApplication::QGuiApplication;
    Q_INVOKABLE void switchLanguage(const QString &language)
    {
        languages.append(language);
        Q_EMIT languageSwitched();
    }
    QStringList languages;

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

QStringList warnings;
void collectWarnings(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type != QtDebugMsg && type != QtInfoMsg)
        warnings.append(QLatin1StringView(context.category) + u": "_s + text);
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
        const QMetaObject *meta = model()->metaObject();
        QCOMPARE(meta->propertyCount() - meta->propertyOffset(), int(settings().size()));
        QMap<QByteArray, QVariant> fallbacks;
        QMap<QByteArray, QVariant> written;
        for (const Setting &setting : settings()) {
            const char *name = setting.name;
            const QMetaProperty property = meta->property(meta->indexOfProperty(name));
            QVERIFY2(property.metaType() == QMetaType::fromName(setting.type), name);
            const QVariant fallback = fallbacks[name] = property.read(model());
            if (setting.fallback.isValid())
                QVERIFY2(fallback == setting.fallback, name);
            QByteArray arguments = setting.type;
            if (setting.carries != Carries::Value)
                arguments = setting.carries == Carries::Nothing ? "" : "int,int";
            QCOMPARE(property.notifySignal().methodSignature(),
                     name + QByteArray("Changed(") + arguments + ')');

            const QVariant value = otherValue(setting);
            QSignalSpy changed(model(), property.notifySignal());
            QVERIFY2(property.write(model(), value) && property.write(model(), value), name);
            QVERIFY2(changed.size() == 1, name);
            if (setting.carries == Carries::Value)
                QVERIFY2(changed[0] == QVariantList{value}, name);
            if (setting.carries == Carries::OldAndNew)
                QVERIFY2(changed[0] == (QVariantList{fallback, value}), name);
            const QVariant now = written[name] = property.read(model());
            QVERIFY2(now == value || setting.key == QByteArray("console_options"), name);
        }
        restart();
        const auto rows = storedRows();
        for (const Setting &setting : settings()) {
            if (!setting.key)
                continue;
            QVERIFY2(model()->property(setting.name) == written[setting.name], setting.name);
            int type = otherValue(setting).typeId();
            if (type == QMetaType::QVariantMap || type == QMetaType::QVariantList)
                type = setting.key == QByteArray("upgrade") ? QMetaType::QString
                                                            : QMetaType::QByteArray;
            QVERIFY2(rows[QLatin1StringView(setting.key)].value.typeId() == type, setting.name);
        }

        // Without saving: nothing of it is left at the next start.
        store({});
        restart();
        for (const Setting &setting : settings()) {
            if (!setting.key)
                continue;
            const QVariant value = otherValue(setting);
            QByteArray setter = setting.name;
            setter = "set" + setter.left(1).toUpper() + setter.mid(1);
            QVERIFY2(QMetaObject::invokeMethod(model(), setter,
                                               QGenericArgument(setting.type, value.constData()),
                                               Q_ARG(bool, false)),
                     setter);
            QVERIFY2(model()->property(setting.name) == written[setting.name], setting.name);
        }
        restart();
        for (const Setting &setting : settings())
            QVERIFY2(!setting.key || model()->property(setting.name) == fallbacks[setting.name],
                     setting.name);
    }

    void settingsWithoutAProperty()
    {
        const auto all = [] {
            const AppSettingModel *m = model();
            // clang-format off
            return QVariantList{
                m->themeColor(), m->gradientColor(), m->gradientStartColor(), m->chatBackgroundMode(),
                m->selectedLanguage(), m->appIconPath(), m->oldCacheDataPath(), m->lastDumpLogTime(),
                m->uploadFileSizeLimit(), m->lastDeviceIds(), m->newDeviceLoginRemind(),
                m->movedDataInfo(), m->serverConfig(), m->containsCustomThemeInfo(),
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
    void whatQmlSees()
    {
        // QML calls and handlers know methods by these names: "setDarkMode(bool,bool)=value,needSave".
        QCOMPARE(QQmlEngine::objectOwnership(model()), QQmlEngine::CppOwnership);
        QVERIFY(!model()->parent());
        QVERIFY(QMetaType::fromName("AppSettingModel *").isValid());
        const QMetaObject *meta = model()->metaObject();
        QByteArrayList names;
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i)
            names.append(meta->method(i).methodSignature() + '='
                         + meta->method(i).parameterNames().join(','));
        std::sort(names.begin(), names.end());
        const QByteArray digest =
            QCryptographicHash::hash(names.join('\n'), QCryptographicHash::Sha1);
        if (digest.toHex() != "5bc178ea75ac33d5959a8df53b8b294b2fd972f1") {
            qWarning().noquote() << names.join('\n');
            QFAIL("a method or a parameter has another name; if it is new, take " + digest.toHex());
        }
    }

    void wrongTypesInTheStoreAreConverted()
    {
        const QString rubbish = u"\x01{rubbish"_s;
        struct {
            const char *key;
            QVariant stored;
            const char *name;
            QVariant read;
            // clang-format off
        } rows[] = {
            {"dark_mode", u"yes"_s, "darkMode", true},
            {"debug", u"false"_s, "debug", false},
            {"message_font_size", QByteArray("\x01\x02"), "messageFontSize", 0},
            {"theme_font_size", -5, "themeFontSize", -5},
            {"screenlocktime", 12.0, "screenLockTime", 12},
            {"current_account", u"12345678901234"_s, "currentAccountId", 12345678901234LL},
            {"app_icon", 5, "appIcon", u"5"_s},
            {"passcode", QVariantList{1, 2}, "passcode", QString()},
            {"showImHotKey", rubbish, "showImHotkey", QVariantMap()},
            {"screenRecordHotKey", u"{\"a\":1}"_s, "screenRecordHotkey", QVariantMap{{u"a"_s, 1LL}}},
            {"accounts", u"{\"a\":1}"_s, "accountIds", QVariantList()},
            {"infoPanelWidth", 1000, "infoPanelWidth", 480},
            {"last_device_ids", u"abc"_s, nullptr, {}},
            {"emoji_skin_indexes", rubbish, nullptr, {}},
            {"console_options", rubbish, nullptr, {}},
        };
        // clang-format on
        QList<storage::SettingInfo> infos{{u"upgrade"_s, QVariantList{1}, rubbish}};
        for (const auto &row : rows)
            infos.append({QLatin1StringView(row.key), row.stored, {}});
        store(infos);
        restart();
        for (const auto &row : rows) {
            if (row.name)
                QCOMPARE(model()->property(row.name), row.read);
        }
        QVERIFY(model()->lineHeigt() > 0);
        QCOMPARE(model()->lastDeviceIds(), QByteArray("abc"));
        QCOMPARE(model()->emojiSkinIndex(u"\u270B"_s), -1);
        QCOMPARE(model()->consoleOptions().count(u"uri"), 19);
        QCOMPARE(model()->upgradeInfo().value(u"remark"_s), rubbish);
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
        const QFont font = app()->font();
        QCOMPARE(font.pixelSize(), 30);
        QCOMPARE(model()->lineHeigt(), int(QFontMetricsF(font).height()));
        QCOMPARE(app()->property("fontPixelSize"), 30);
        QCOMPARE(app()->languages, QStringList{u"pt_BR"_s});
        QCOMPARE(capture[0][0].toMap(), (QVariantMap{{u"a"_s, 1LL}}));
        QCOMPARE(upgrade, (QVariantMap{{u"value"_s, u"3.1"_s}, {u"remark"_s, u"notes"_s}}));
        QCOMPARE(order.take(),
                 u"debugChanged upgradeInfoChanged screenCaptureHotkeyChanged "
                 "screenRecordHotkeyChanged showImHotkeyChanged"_s);
        const int height = model()->lineHeigt();
        model()->setThemeFontSize(60);
        QVERIFY(model()->lineHeigt() > height);
        model()->setUpgradeInfo({{u"value"_s, u"2.0"_s}, {u"remark"_s, u"faster"_s}});
        QCOMPARE(storedRows().value(u"upgrade"_s).value, u"2.0"_s);
        QCOMPARE(storedRows().value(u"upgrade"_s).remark, u"faster"_s);

        // Without a choice it is what the application has of the system's, which is de_AT: see main().
        model()->reset();
        for (const QString &known : {u"de_DE"_s, u"de_AT"_s}) {
            app()->setProperty("availableLanguages", QStringList{u"en_US"_s, known});
            QCOMPARE(model()->language(), known);
        }
        app()->setProperty("availableLanguages", QStringList{u"en_US"_s});
        QCOMPARE(model()->language(), u"de_AT"_s);
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
            bool held = false;
            std::future<void> reader;
            const auto look = [&, name = name] { seen.append(model()->property(name)); };
            connect(model(), &AppSettingModel::endConfig, &order, look);
            connect(model(), &AppSettingModel::beginConfig, &order, look);
            connect(model(), &AppSettingModel::beginConfig, &order, [&] {
                // Other threads have to wait until the change is done.
                reader = std::async(std::launch::async, [] { model()->darkMode(); });
                held =
                    reader.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
            });
            QVERIFY(model()->setProperty(name, !fallback));
            reader.wait();
            QVERIFY(held);
            QCOMPARE(order.take(),
                     u"beginConfig endConfig %1Changed"_s.arg(QLatin1StringView(name)));
            QCOMPARE(begin[0], (QVariantList{key, QVariant()}));
            QCOMPARE(end[0], (QVariantList{key, !fallback}));
            QCOMPARE(seen, (QVariantList{fallback, !fallback}));
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
        for (const auto &[list, save, state] : {std::tuple{u"[1]"_s, true, 2},
                                                {u"[]"_s, true, 0},
                                                {u"[]"_s, true, 0},
                                                {u""_s, true, 0},
                                                {u"[1]"_s, false, 2},
                                                {u""_s, false, 0}}) {
            model()->setNetworkProxyState(2);
            model()->setNetworkProxyList(list, save);
            QCOMPARE(model()->networkProxyState(), state);
        }
        restart();
        QCOMPARE(model()->networkProxyState(), 0);
        QCOMPARE(model()->networkProxyList(), u""_s);
    }

    void theLastAccountTakesTheSettingsWithIt()
    {
        model()->setValue(u"database_version"_s, 9, true);
        model()->setServerConfig("config", true);
        model()->setDarkMode(true);
        QSignalSpy reset(model(), &AppSettingModel::paramsBeReseted);
        model()->setAccountIds({9007199254740993LL, 2});
        QVERIFY(model()->darkMode());
        QSignalSpy ids(model(), &AppSettingModel::accountIdsChanged);
        model()->setAccountIds({});
        QCOMPARE(ids.size(), 2);
        QCOMPARE(reset.size(), 1);
        model()->setAccountIds({});
        QCOMPARE(reset.size(), 2);
        for (int start = 0; start < 2; ++start) {
            QVERIFY(!model()->darkMode() && model()->accountIds().isEmpty());
            QCOMPARE(model()->serverConfig(), QByteArray("config"));
            QCOMPARE(model()->getValue(u"database_version"_s, 0), 9);
            restart();
        }
    }

    void consoleOptionsAreCompletedAndApplied()
    {
        // The default is a text of its own, and applies nothing.
        QVERIFY(model()->consoleOptions().startsWith(
            u"[{\"uri\": \"im.base\", \"enable\": true}, {\"uri\": \"im.component\", "_s));
        QVERIFY(model()->consoleOptions().endsWith(
            u", {\"uri\": \"im.settingmodel\", \"enable\": true}]"_s));
        QLoggingCategory::setFilterRules(u"im.custom.debug=true\nim.ui.debug=false"_s);
        model()->consoleOptions();
        QVERIFY(!debugEnabled("im.ui"));

        // A new category is stored, but comes into force with the next reading; a known one at once.
        QSignalSpy changed(model(), &AppSettingModel::consoleOptionsChanged);
        model()->changeConsoleOption(u"im.custom"_s, false);
        QVERIFY(debugEnabled("im.ui") && debugEnabled("im.custom"));
        const QString options = model()->consoleOptions();
        QVERIFY(!debugEnabled("im.custom"));
        QVERIFY(options.endsWith(u"{\"enable\":false,\"uri\":\"im.custom\"}]"_s));
        QCOMPARE(changed, QList<QVariantList>{{options}});
        for (int i = 0; i < 2; ++i)
            model()->changeConsoleOption(u"im.ui"_s, false);
        QVERIFY(!debugEnabled("im.ui") && debugEnabled("im.network"));
        QCOMPARE(changed.size(), 2);

        // Stored ones first, in their order, then what is new in the program; nothing is written.
        const QString stored =
            u"[{\"uri\":\"b\",\"enable\":true},{\"uri\":\"im.ui\",\"enable\":false}]"_s;
        model()->setConsoleOptions(stored);
        const QString merged = model()->consoleOptions();
        QVERIFY(merged.startsWith(
            u"[{\"enable\":true,\"uri\":\"b\"},{\"enable\":false,\"uri\":\"im.ui\"},{\"enable\":true,\"uri\":\"im.base\"},"_s));
        QCOMPARE(merged.count(u"uri"), 20);
        QVERIFY(!debugEnabled("im.ui"));
        QCOMPARE(model()->getValue(u"console_options"_s, {}), stored);
    }

    void skinTones()
    {
        const QString hand = u"\u270B"_s;
        const QString fist = u"\u270A"_s;
        const auto tones = [&] {
            return std::pair{model()->emojiSkinIndex(hand), model()->emojiSkinIndex(fist)};
        };
        model()->setEmojiSkinIndex(hand, 3);
        QCOMPARE(tones(), std::pair(3, -1));
        model()->setEmojiSkinIndex(fist, 0);
        QCOMPARE(tones(), std::pair(3, 0));
        model()->setEmojiSkinIndex(fist, -1);
        restart();
        QCOMPARE(tones(), std::pair(3, -1));
        QVERIFY(model()->getValue(u"emoji_skin_indexes"_s, {}).toString().contains(u'\n'));
        model()->setGlobalSkinIndex(2, false);
        QCOMPARE(model()->globalSkinIndex(), 2);
        QCOMPARE(tones(), std::pair(-1, -1));
        model()->setEmojiSkinIndex(fist, 1);
        QCOMPARE(tones(), std::pair(-1, 1));
        // A reset and a write past the setter count as well.
        model()->reset();
        QCOMPARE(tones(), std::pair(-1, -1));
        model()->setValue(u"emoji_skin_indexes"_s, u"{\"\u270A\": 4}"_s, true);
        QCOMPARE(tones(), std::pair(-1, 4));
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

        // What QML hands over lives on without its engine.
        {
            QJSEngine engine;
            const QJSValue object = engine.evaluate(u"({list: [1, 'x'], yes: true})"_s);
            QVERIFY(model()->setValue(u"from_qml"_s, QVariant::fromValue(object), true));
        }
        // What cannot be stored keeps nothing else from it.
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"QObject.* cannot be stored: b"_s));
        model()->setValue(u"b"_s, QVariant::fromValue(static_cast<QObject *>(this)), true);
        model()->setCountMuteDialog(true);
        model()->setUnreadMessagesCounter(true);
        restart();
        QCOMPARE(model()->getValue(u"from_qml"_s, {}),
                 (QVariantMap{{u"list"_s, QVariantList{1, u"x"_s}}, {u"yes"_s, true}}));
        QVERIFY(!model()->getValue(u"b"_s, {}).isValid());
        QVERIFY(model()->countMuteDialog() && model()->unreadMessagesCounter());
        model()->resetBadgeCounter();
        QVERIFY(!model()->countMuteDialog() && !model()->unreadMessagesCounter());
    }

    void resetAnnouncesInOrder()
    {
        for (const Setting &setting : settings()) {
            if (setting.name != QByteArray("consoleOptions"))
                model()->setProperty(setting.name, otherValue(setting));
        }
        model()->setRequestUserLocation(false);
        model()->setServerConfig("config", true);
        app()->languages.clear();
        SignalLog order{{app(), model()}};
        QSignalSpy width(model(), &AppSettingModel::infoPanelWidthChanged);
        QSignalSpy tools(model(), &AppSettingModel::accountIdsChanged);
        model()->reset();

        // clang-format off
        static const char expected[] =
            "updateAutomaticallly systemTrayIconVisible launchWhenSystemStart messageFontSize language "
            "languageSwitched sendMessageKeys debug networkProxyState currentNetworkProxy networkProxyList "
            "useProxyForCall themeFontSize msgDoubleClickAction msgSendType musicPlay darkMode mainwindowGeometry "
            "passcode screenLockTime miniSessionMode infoPanelViewMode infoPanelOutdision infoPanelWidth "
            "messageDisplayMode firstDayOfWeek autoPlayGif autoPlayVideo autoPlayLivePhoto screenCapture upgradeInfo "
            "accountIds currentAccountId unlockWithTouchID appearenceFollowSystemTheme themeColorFollowSystem "
            "saveasPath destructionPasscode countMuteDialog unreadMessagesCounter plainModel systemFont spellChecker "
            "openFilePath handleMarkDown lastUploadLogTime screenLockErrorCountDownSeconds screenCaptureHotkey "
            "screenRecordHotkey showImHotkey largeEmoji useStandRouting appIcon reduceAnimation consoleOptions "
            "isFirstSendReceipt isFirstReadReceipt isFirstSwitchAccount isFirstDropToMyStorage showTrayIcon "
            "messageBubbleCorners fullScreen isFirstScrollMedia requestUserLocation sessionListWidth paramsBeReseted";
        // clang-format on
        QStringList names = QString::fromLatin1(expected).split(u' ');
        for (QString &name : names) {
            if (name != u"languageSwitched" && name != u"paramsBeReseted")
                name += u"Changed"_s;
        }
        // The application's font changes with the theme's; that is no matter of order here.
        QStringList announced = order.names();
        announced.removeAll(u"fontChanged"_s);
        QCOMPARE(announced.join(u' '), names.join(u' '));
        QCOMPARE(width[0][0], 320);
        QCOMPARE(tools[0][0], QVariant(QVariantList()));
        QCOMPARE(app()->languages, QStringList{model()->language()});
        QCOMPARE(app()->property("autoRun"), false);
        QCOMPARE(app()->font().pixelSize(), 14);

        for (int start = 0; start < 2; ++start) {
            for (const Setting &setting : settings()) {
                if (setting.fallback.isValid() && setting.key)
                    QCOMPARE(model()->property(setting.name), setting.fallback);
            }
            restart();
        }
        QCOMPARE(storedRows().keys().size(), 2);
        QCOMPARE(storedRows().value(u"database_version"_s).value, 1);
        QCOMPARE(storedRows().value(u"server_config"_s).value, QByteArray("config"));
    }

    void writesSurviveQuitAll()
    {
        ThreadManager::getInstance()->init();
        for (int i = 0; i < 20000; ++i)
            model()->setValue(u"key%1"_s.arg(i), i, true);
        for (int i = 0; i < 1000; ++i)
            model()->setThemeFontSize(100 + i % 7);
        ThreadManager::getInstance()->quitAll();
        const auto rows = storedRows();
        QCOMPARE(rows.size(), 20001);
        restart();
        for (int i = 0; i < 20000; ++i)
            QCOMPARE(model()->getValue(u"key%1"_s.arg(i), {}), i);
        QCOMPARE(model()->themeFontSize(), 100 + 999 % 7);
    }

    void theModelOrItsStoreMayGoBeforeTheTask()
    {
        ThreadManager::getInstance()->init();
        QSemaphore hold;
        ThreadManager::invoke([&] { hold.acquire(); }, true);
        const auto stored = [] { return storedRows().value(u"dark_mode"_s).value; };
        model()->setDarkMode(true);
        QVERIFY(!stored().isValid());
        AppSettingModel::releaseInstance();
        QCOMPARE(stored(), true);
        model()->loadGlobalData();
        model()->setDarkMode(false);
        model()->closeGlobalStorage();
        QCOMPARE(stored(), false);
        QVERIFY(!model()->globalStorage()->isOpen());
        QVERIFY(!model()->darkMode());
        model()->loadGlobalData();
        model()->setDarkMode(true);
        hold.release();
        ThreadManager::getInstance()->quitAll();
        QCOMPARE(stored(), true);
    }

    void noMomentOfAResetLosesWhatIsKept()
    {
        ThreadManager::getInstance()->init();
        model()->setServerConfig("config", true);
        model()->setValue(u"database_version"_s, 9, true);
        QTRY_VERIFY(storedRows().contains(u"database_version"_s));
        std::atomic<bool> stop = false;
        std::atomic<int> seen = 0;
        auto watcher = std::async(std::launch::async, [&] {
            bool whole = true;
            for (; !stop; ++seen) {
                const auto rows = storedRows();
                whole = whole && rows[u"server_config"_s].value == QByteArray("config")
                    && rows[u"database_version"_s].value == 9;
            }
            return whole;
        });
        for (int i = 0; i < 100 || seen < 100; ++i) {
            model()->setDarkMode(true);
            model()->reset();
        }
        stop = true;
        QVERIFY(watcher.get());
        ThreadManager::getInstance()->quitAll();
        QVERIFY(!storedRows().contains(u"dark_mode"_s));
    }

    void aStoreThatCannotBeOpened()
    {
        const QString path = model()->globalStorage()->filePath();
        AppSettingModel::releaseInstance();
        for (const char *suffix : {"", "-wal", "-shm"})
            QFile::remove(path + QLatin1StringView(suffix));
        QVERIFY(QDir().mkpath(path));
        warnings.clear();
        const QtMessageHandler before = qInstallMessageHandler(collectWarnings);
        model()->loadGlobalData();
        const qsizetype opening = warnings.size();
        QSignalSpy changed(model(), &AppSettingModel::darkModeChanged);
        for (int i = 0; i < 5; ++i) {
            model()->setDarkMode(i % 2 == 0);
            model()->setValue(QString::number(i), i, true);
        }
        qInstallMessageHandler(before);
        QVERIFY(opening > 0);
        QCOMPARE(changed.size(), 5);
        QCOMPARE(warnings.filter(u"im.settingmodel"_s).size(), 1);

        // Once the way is free, nothing that was changed meanwhile is missing.
        QVERIFY(QDir().rmdir(path));
        model()->loadGlobalData();
        QVERIFY(model()->darkMode());
        restart();
        QVERIFY(model()->darkMode());
        QCOMPARE(model()->getValue(u"3"_s, {}), 3);
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
