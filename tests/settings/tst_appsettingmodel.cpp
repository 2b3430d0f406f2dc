#include "account/threadmanager.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"
#include "support/signalorder.h"

#include <QDir>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QJSEngine>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
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

struct Setting {
    const char *name;
    const char *key;
    const char *type;
    QVariant fallback; // invalid: not the same everywhere
    Carries carries = Carries::Value;
};

const QString emptyMap = QStringLiteral("{}");
const QString emptyList = QStringLiteral("[]");

// Stored data in the field depends on each word of this.
const std::vector<Setting> &settings()
{
    static const std::vector<Setting> all = {
        {"updateAutomaticallly", "update_automaticallly", "bool", true},
        {"systemTrayIconVisible", "system_tray_icon_visible", "bool", true},
        {"launchWhenSystemStart", "launch_when_system_start", "bool", false},
        {"messageFontSize", "message_font_size", "int", 12},
        {"language", "language", "QString", {}},
        {"sendMessageKeys", "sendMsgKeys", "QString", u"16777221"_s},
        {"debug", "debug", "bool", false},
        {"networkProxyState", "enable_network_proxy", "int", 0},
        {"currentNetworkProxy", "current_network_proxy", "QString", emptyMap},
        {"networkProxyList", "network_proxy_list", "QString", emptyList},
        {"useProxyForCall", "use_proxy_for_call", "bool", false},
        {"themeFontSize", "theme_font_size", "int", 14},
        {"msgDoubleClickAction", "message_double_click_action", "int", 0},
        {"msgSendType", "message_send_type", "int", 0},
        {"musicPlay", "music_play_sequence", "QString", emptyMap},
        {"darkMode", "dark_mode", "bool", false},
        {"mainwindowGeometry", "mainwindow_geometry", "QString", u""_s},
        {"fullScreen", "fullScreen", "bool", false, Carries::Nothing},
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
        {"destructRecoverable", "destruct_recoverable", "bool", false, Carries::Nothing},
        {"incognitoPassword", "incognito_password", "QString", u""_s},
        {"screenCaptureHotkey", "screenCaptureHotKey", "QVariantMap", QVariantMap()},
        {"screenRecordHotkey", "screenRecordHotKey", "QVariantMap", QVariantMap()},
        {"showImHotkey", "showImHotKey", "QVariantMap", QVariantMap()},
        {"countMuteDialog", "count_mute_dialog", "bool", false},
        {"unreadMessagesCounter", "unread_messages_counter", "bool", false},
        {"plainModel", "plain_model", "bool", false},
        {"systemFont", "system_font", "bool", false},
        {"appFontFamily", "app_font_family", "QString", u"ff_default"_s, Carries::Nothing},
        {"spellChecker", "spell_checker", "bool", true},
        {"openFilePath", "open_file_path", "QString", AppDirManager::instance()->documentDir()},
        {"handleMarkDown", "handle_markdown", "bool", false},
        {"lastUploadLogTime", "last_upload_log_time", "qlonglong", 0},
        {"appIcon", "app_icon", "QString", u"logo_im_light"_s},
        {"largeEmoji", "large_emoji", "bool", true},
        {"imageEditTool", "image_edit_tool", "QVariantMap", QVariantMap()},
        {"imageEditSetting", "image_edit_setting", "QVariantMap", QVariantMap(), Carries::Nothing},
        {"whiteboardTool", "whiteboard_tool", "QVariantMap", QVariantMap()},
        {"useStandRouting", "use_stand_routing", "bool", false},
        {"autoDownloadMedia", "auto_download_media", "bool", true},
        {"autoDownloadImagePrivateChats", "auto_download_image_private_chats", "bool", true},
        {"autoDownloadImageGroupChats", "auto_download_image_group_chats", "bool", true},
        {"autoDownloadImageLimit", "auto_download_image_limit", "int", 1 << 20, Carries::OldAndNew},
        {"autoDownloadVideoPrivateChats", "auto_download_video_private_chats", "bool", true},
        {"autoDownloadVideoGroupChats", "auto_download_video_group_chats", "bool", true},
        {"autoDownloadVideoLimit", "auto_download_video_limit", "int", 10 << 20,
         Carries::OldAndNew},
        {"autoDownloadFilePrivateChats", "auto_download_file_private_chats", "bool", false},
        {"autoDownloadFileGroupChats", "auto_download_file_group_chats", "bool", false},
        {"autoDownloadFileLimit", "auto_download_file_limit", "int", 10 << 20, Carries::OldAndNew},
        {"localCacheMaxSize", "local_cache_max_size", "qlonglong", -1},
        {"reduceAnimation", "reduce_animation", "bool", false},
        {"consoleOptions", "console_options", "QString", {}},
        {"isFirstSendReceipt", "first_send_receipt", "bool", true},
        {"isFirstReadReceipt", "first_read_receipt", "bool", true},
        {"isFirstSwitchAccount", "first_switch_account", "bool", true},
        {"isFirstDropToMyStorage", "first_drop_mystorage", "bool", true},
        {"isFirstScrollMedia", "first_scroll_mddia", "bool", true},
        {"showTrayIcon", "show_tray_icon", "bool", true, Carries::Nothing},
        {"messageBubbleCorners", "message_bubble_corners", "int", 18},
        {"requestUserLocation", nullptr, "bool", true, Carries::Nothing},
        {"cacheDataPath", "cache_data_path", "QString",
         AppDirManager::instance()->defaultCacheDataDir(), Carries::Nothing},
        {"sessionListWidth", "session_list_width", "int", 296, Carries::Nothing},
        {"topicListWidth", "topic_list_width", "int", 225, Carries::Nothing},
        {"notiAllAccounts", "noti_all_accounts", "bool", true},
        {"leftSessionItemTools", "left_session_item_tools", "QVariantList",
         QVariantList{u"mark_as_unread"_s, u"later"_s}, Carries::Nothing},
        {"rightSessionItemTools", "right_session_item_tools", "QVariantList",
         QVariantList{u"pin"_s, u"mute"_s, u"archive"_s}, Carries::Nothing},
        {"showInDiscussionOnly", "show_In_discussion_only", "bool", false, Carries::Nothing},
        {"contactsSortBySeen", "contacts_sort_by_seen", "bool", false, Carries::Nothing},
        {"noNetworkProhibited", "no_network_Prohibited", "bool", false, Carries::Nothing},
        {"settingSearchHistory", "setting_search_history", "QVariantList", QVariantList(),
         Carries::Nothing},
        {"darkDims", "dark_dims", "bool", false, Carries::Nothing},
        {"globalSkinIndex", "global_skin_index", "int", -1, Carries::Nothing},
    };
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
AppSettingModel *model()
{
    return AppSettingModel::instance();
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

    void everySettingIsAProperty()
    {
        const QMetaObject *meta = model()->metaObject();
        QCOMPARE(meta->propertyCount() - meta->propertyOffset(), int(settings().size()));
        QVERIFY(QMetaType::fromName("AppSettingModel *").isValid());
        QCOMPARE(QQmlEngine::objectOwnership(model()), QQmlEngine::CppOwnership);
        QVERIFY(!model()->parent());
    }

    void everySetting_data()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < int(settings().size()); ++i)
            QTest::addRow("%s", settings()[i].name) << i;
    }
    void everySetting()
    {
        QFETCH(const int, index);
        const Setting &setting = settings()[index];
        const QMetaObject *meta = model()->metaObject();
        const QMetaProperty property = meta->property(meta->indexOfProperty(setting.name));
        QCOMPARE(property.metaType(), QMetaType::fromName(setting.type));
        const QVariant fallback = property.read(model());
        if (setting.fallback.isValid())
            QCOMPARE(fallback, setting.fallback);
        QByteArray arguments = setting.type;
        if (setting.carries != Carries::Value)
            arguments = setting.carries == Carries::Nothing ? "" : "int,int";
        QCOMPARE(property.notifySignal().methodSignature(),
                 setting.name + QByteArray("Changed(") + arguments + ')');

        const QVariant value = otherValue(setting);
        QSignalSpy changed(model(), property.notifySignal());
        QVERIFY(property.write(model(), value));
        QVERIFY(property.write(model(), value));
        QCOMPARE(changed.size(), 1);
        if (setting.carries == Carries::Value)
            QCOMPARE(changed[0], QVariantList{value});
        if (setting.carries == Carries::OldAndNew)
            QCOMPARE(changed[0], (QVariantList{fallback, value}));
        if (setting.name != QByteArray("consoleOptions"))
            QCOMPARE(property.read(model()), value);
        const QVariant before = property.read(model());
        if (!setting.key)
            return;

        restart();
        QCOMPARE(property.read(model()), before);
        const storage::SettingInfo row = storedRows().value(QLatin1StringView(setting.key));
        if (value.typeId() == QMetaType::QVariantMap || value.typeId() == QMetaType::QVariantList) {
            if (row.key != u"upgrade")
                QCOMPARE(row.value.typeId(), QMetaType::QByteArray);
        } else {
            QCOMPARE(row.value.typeId(), value.typeId());
        }

        // Without saving: nothing of it is left at the next start.
        store({});
        restart();
        QByteArray setter = setting.name;
        setter = "set" + setter.left(1).toUpper() + setter.mid(1);
        QVERIFY(QMetaObject::invokeMethod(model(), setter,
                                          QGenericArgument(setting.type, value.constData()),
                                          Q_ARG(bool, false)));
        QCOMPARE(property.read(model()), before);
        restart();
        QCOMPARE(property.read(model()), fallback);
    }

    void settingsWithoutAProperty()
    {
        AppSettingModel *m = model();
        app()->setProperty("productColor", u"#123456"_s);
        QCOMPARE(m->themeColor(), u"#123456"_s);
        QCOMPARE(m->gradientColor(), u""_s);
        QCOMPARE(m->gradientStartColor(), u""_s);
        QCOMPARE(m->chatBackgroundMode(), 0);
        QCOMPARE(m->selectedLanguage(), u""_s);
        QCOMPARE(m->appIconPath(), u":/resource/image/icon/logo_im_light.ico"_s);
        QCOMPARE(m->lastDeviceIds(), QByteArray());
        QCOMPARE(m->newDeviceLoginRemind(), QByteArray());
        QCOMPARE(m->movedDataInfo(), QByteArray());
        QCOMPARE(m->oldCacheDataPath(), u""_s);
        QCOMPARE(m->lastDumpLogTime(), 0);
        QCOMPARE(m->uploadFileSizeLimit(), 1610612736);
        QCOMPARE(m->serverConfig(), QByteArray());
        QVERIFY(!m->containsCustomThemeInfo());
        QVERIFY(!m->containsAutoDownloadSetting());

        const QByteArray bytes("\0\xff{", 3);
        m->setLastDeviceIds(bytes);
        m->setNewDeviceLoginRemind(bytes + '1');
        m->setMovedDataInfo(bytes + '2');
        m->setServerConfig(bytes + '3', true);
        m->setOldCacheDataPath(u"/old"_s);
        m->setLastDumpLogTime(qint64(1) << 40);
        m->setUploadFileSizeLimit(qint64(1) << 41);
        m->setAppIcon(u"other"_s);
        m->setLanguage(u"fr_FR"_s);
        QVERIFY(m->setValue(u"gradient_color"_s, u"red"_s, true));
        QVERIFY(m->containsCustomThemeInfo());
        QVERIFY(m->setValue(u"gradient_start_color"_s, u"blue"_s, true));
        QVERIFY(m->setValue(u"theme_color"_s, u"green"_s, true));
        QVERIFY(m->setValue(u"chat_background_mode"_s, 7, true));
        restart();
        m = model();
        QCOMPARE(m->lastDeviceIds(), bytes);
        QCOMPARE(m->newDeviceLoginRemind(), bytes + '1');
        QCOMPARE(m->movedDataInfo(), bytes + '2');
        QCOMPARE(m->serverConfig(), bytes + '3');
        QCOMPARE(m->oldCacheDataPath(), u"/old"_s);
        QCOMPARE(m->lastDumpLogTime(), qint64(1) << 40);
        QCOMPARE(m->uploadFileSizeLimit(), qint64(1) << 41);
        QCOMPARE(m->appIconPath(), u":/resource/image/icon/other.ico"_s);
        QCOMPARE(m->selectedLanguage(), u"fr_FR"_s);
        QCOMPARE(m->gradientColor(), u"red"_s);
        QCOMPARE(m->gradientStartColor(), u"blue"_s);
        QCOMPARE(m->themeColor(), u"green"_s);
        QCOMPARE(m->chatBackgroundMode(), 7);
        const auto rows = storedRows();
        for (const char *key :
             {"last_device_ids", "new_device_login_remind", "moved_data_info", "server_config"})
            QCOMPARE(rows[QLatin1StringView(key)].value.typeId(), QMetaType::QByteArray);
        QCOMPARE(rows[u"old_cache_data_path"_s].value, u"/old"_s);
        QCOMPARE(rows[u"last_dump_log_time"_s].value.typeId(), QMetaType::LongLong);
        QCOMPARE(rows[u"file_size_limit"_s].value.typeId(), QMetaType::LongLong);
        m->setAutoDownloadMedia(false);
        QVERIFY(m->containsAutoDownloadSetting());
    }

    void parameterNamesForQml_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QByteArrayList>("names");
        const auto add = [](const char *method, const QByteArrayList &names) {
            QTest::addRow("%s", method) << QByteArray(method) << names;
        };
        add("setDarkMode(bool,bool)", {"value", "needSave"});
        add("setImageEditTool(QVariantMap,bool)", {"value", "needSave"});
        add("setAutoDownloadImageLimit(int,bool)", {"limitSize", "needSave"});
        add("setNewDeviceLoginRemind(QByteArray)", {"devices"});
        add("setLastDeviceIds(QByteArray)", {"deviceIds"});
        add("setConsoleOptions(QString,bool)", {"newConsoleOptions", "needSave"});
        add("changeConsoleOption(QString,bool)", {"uri", "enabled"});
        add("setShowTrayIcon(bool,bool)", {"newShowTrayIcon", "needSave"});
        add("setMessageBubbleCorners(int,bool)", {"corners", "needSave"});
        add("setSessionListWidth(int,bool)", {"newSessionListWidth", "needSave"});
        add("setCacheDataPath(QString,bool)", {"cacheDataPath", "needSave"});
        add("setNotiAllAccounts(bool,bool)", {"newNotiAllAccounts", "needSave"});
        add("setTopicListWidth(int,bool)", {"newTopicListWidth", "needSave"});
        add("emojiSkinIndex(QString)", {"emoji"});
        add("setEmojiSkinIndex(QString,int)", {"emoji", "index"});
        add("setGlobalSkinIndex(int,bool)", {"index", "needSave"});
        add("setValue(QString,QVariant,bool)", {"key", "value", "needSave"});
        add("getValue(QString,QVariant)", {"key", "defaultValue"});
        add("loadGlobalData()", {});
        add("reset()", {});
        add("resetBadgeCounter()", {});
        add("screenCaptureHotkeyChanged(QVariantMap)", {"hotKeyInfo"});
        add("autoDownloadImagePrivateChatsChanged(bool)", {"bAutoDownload"});
        add("autoDownloadVideoLimitChanged(int,int)", {"oldSize", "newSize"});
        add("localCacheMaxSizeChanged(qint64)", {"maxSize"});
        add("consoleOptionsChanged(QString)", {"options"});
        add("messageBubbleCornersChanged(int)", {"bubbleCorners"});
        add("beginConfig(QString,QVariant)", {"key", "value"});
        add("endConfig(QString,QVariant)", {"key", "value"});
        add("darkModeChanged(bool)", {""});
        add("emojiSkinIndexChanged()", {});
    }
    void parameterNamesForQml()
    {
        QFETCH(const QByteArray, method);
        QFETCH(const QByteArrayList, names);
        const QMetaObject *meta = model()->metaObject();
        const int index = meta->indexOfMethod(method);
        QVERIFY(index >= 0);
        QCOMPARE(meta->method(index).parameterNames(), names);
    }

    void wrongTypesInTheStoreAreConverted()
    {
        const QString rubbish = u"\x01{rubbish"_s;
        store({{u"dark_mode"_s, u"yes"_s, {}},
               {u"debug"_s, u"false"_s, {}},
               {u"message_font_size"_s, QByteArray("\x01\x02"), {}},
               {u"theme_font_size"_s, -5, {}},
               {u"screenlocktime"_s, 12.0, {}},
               {u"current_account"_s, u"12345678901234"_s, {}},
               {u"app_icon"_s, 5, {}},
               {u"passcode"_s, QVariantList{1, 2}, {}},
               {u"last_device_ids"_s, u"abc"_s, {}},
               {u"showImHotKey"_s, rubbish, {}},
               {u"screenRecordHotKey"_s, u"{\"a\":1}"_s, {}},
               {u"accounts"_s, u"{\"a\":1}"_s, {}},
               {u"infoPanelWidth"_s, 1000, {}},
               {u"emoji_skin_indexes"_s, rubbish, {}},
               {u"console_options"_s, rubbish, {}},
               {u"upgrade"_s, QVariantList{1}, rubbish}});
        restart();
        QCOMPARE(model()->darkMode(), true);
        QCOMPARE(model()->debug(), false);
        QCOMPARE(model()->messageFontSize(), 0);
        QCOMPARE(model()->themeFontSize(), -5);
        QVERIFY(model()->lineHeigt() > 0);
        QCOMPARE(model()->screenLockTime(), 12);
        QCOMPARE(model()->currentAccountId(), 12345678901234);
        QCOMPARE(model()->appIcon(), u"5"_s);
        QCOMPARE(model()->passcode(), QString());
        QCOMPARE(model()->lastDeviceIds(), QByteArray("abc"));
        QCOMPARE(model()->showImHotkey(), QVariantMap());
        QCOMPARE(model()->screenRecordHotkey(), (QVariantMap{{u"a"_s, 1LL}}));
        QCOMPARE(model()->accountIds(), QVariantList());
        QCOMPARE(model()->infoPanelWidth(), 480);
        QCOMPARE(model()->emojiSkinIndex(u"\u270B"_s), -1);
        QCOMPARE(QJsonDocument::fromJson(model()->consoleOptions().toUtf8()).array().size(), 19);
        QCOMPARE(model()->upgradeInfo().value(u"remark"_s), rubbish);
    }

    void loadingPreparesTheApplication()
    {
        store({{u"theme_font_size"_s, 30, {}},
               {u"language"_s, u"pt_BR"_s, {}},
               {u"screenCaptureHotKey"_s, QByteArray("{\"a\":1}"), {}},
               {u"upgrade"_s, u"3.1"_s, u"notes"_s}});
        app()->languages.clear();
        SignalOrder order;
        order.listen(model());
        QSignalSpy capture(model(), &AppSettingModel::screenCaptureHotkeyChanged);
        model()->setDebug(true, false);
        model()->loadGlobalData();
        QCOMPARE(model()->debug(), false);
        QFont font = app()->font();
        QCOMPARE(font.pixelSize(), 30);
        QCOMPARE(model()->lineHeigt(), int(QFontMetricsF(font).height()));
        QCOMPARE(app()->property("fontPixelSize"), 30);
        QCOMPARE(app()->languages, QStringList{u"pt_BR"_s});
        QCOMPARE(capture[0][0].toMap(), (QVariantMap{{u"a"_s, 1LL}}));
        QCOMPARE(model()->upgradeInfo(),
                 (QVariantMap{{u"value"_s, u"3.1"_s}, {u"remark"_s, u"notes"_s}}));
        QCOMPARE(order.names,
                 (QStringList{u"debugChanged"_s, u"upgradeInfoChanged"_s,
                              u"screenCaptureHotkeyChanged"_s, u"screenRecordHotkeyChanged"_s,
                              u"showImHotkeyChanged"_s}));
        const int height = model()->lineHeigt();
        model()->setThemeFontSize(60);
        QVERIFY(model()->lineHeigt() > height);
    }

    void languageFallsBackToWhatTheApplicationHas()
    {
        // The system's is de_AT, see main().
        app()->setProperty("availableLanguages", QStringList{u"en_US"_s, u"de_DE"_s});
        QCOMPARE(model()->language(), u"de_DE"_s);
        app()->setProperty("availableLanguages", QStringList{u"en_US"_s});
        QCOMPARE(model()->language(), u"de_AT"_s);
        model()->setLanguage(u"en_US"_s);
        QCOMPARE(model()->language(), u"en_US"_s);
        QCOMPARE(model()->selectedLanguage(), u"en_US"_s);
    }

    void bracketedKeysAnnounceBothSides()
    {
        for (const char *name : {"largeEmoji", "plainModel"}) {
            const QString key =
                name == QByteArray("largeEmoji") ? u"large_emoji"_s : u"plain_model"_s;
            const bool fallback = model()->property(name).toBool();
            SignalOrder order;
            order.listen(model());
            QSignalSpy begin(model(), &AppSettingModel::beginConfig);
            QSignalSpy end(model(), &AppSettingModel::endConfig);
            bool seenBefore = !fallback;
            bool held = false;
            std::future<void> reader;
            bool seenAfter = fallback;
            connect(model(), &AppSettingModel::beginConfig, &order, [&] {
                seenBefore = model()->property(name).toBool();
                // Other threads have to wait until the change is done.
                reader = std::async(std::launch::async, [] { model()->darkMode(); });
                held =
                    reader.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
            });
            connect(model(), &AppSettingModel::endConfig, &order,
                    [&] { seenAfter = model()->property(name).toBool(); });
            QVERIFY(model()->setProperty(name, !fallback));
            reader.wait();
            QVERIFY(held);
            QCOMPARE(order.names,
                     (QStringList{u"beginConfig"_s, u"endConfig"_s,
                                  QLatin1StringView(name) + u"Changed"_s}));
            QCOMPARE(begin[0], (QVariantList{key, QVariant()}));
            QCOMPARE(end[0], (QVariantList{key, !fallback}));
            QCOMPARE(seenBefore, fallback);
            QCOMPARE(seenAfter, !fallback);
        }
    }

    void valuesThatSettersTurnIntoOthers()
    {
        QSignalSpy width(model(), &AppSettingModel::infoPanelWidthChanged);
        model()->setInfoPanelWidth(900);
        QCOMPARE(model()->getValue(u"infoPanelWidth"_s, {}), 480);
        model()->setInfoPanelWidth(100);
        QCOMPARE(model()->getValue(u"infoPanelWidth"_s, {}), 320);
        QCOMPARE(width.size(), 2);
        QCOMPARE(width[1][0], 320);

        QSignalSpy keys(model(), &AppSettingModel::sendMessageKeysChanged);
        model()->setSendMessageKeys(u""_s);
        QCOMPARE(keys.size(), 0);
        QCOMPARE(model()->sendMessageKeys(), u"16777221"_s);

        // Not a word of JSON's types gets lost, and what it cannot say is announced as it reads back.
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
        model()->setNetworkProxyList(u"[1]"_s);
        for (const QString &none : {u"[]"_s, u"[]"_s, u""_s}) {
            model()->setNetworkProxyState(2);
            model()->setNetworkProxyList(none);
            QCOMPARE(model()->networkProxyState(), 0);
        }
        model()->setNetworkProxyState(2);
        model()->setNetworkProxyList(u"[1]"_s, false);
        QCOMPARE(model()->networkProxyState(), 2);
        model()->setNetworkProxyList(u""_s, false);
        restart();
        QCOMPARE(model()->networkProxyState(), 0);
        QCOMPARE(model()->networkProxyList(), u""_s);
    }

    void theLastAccountTakesTheSettingsWithIt()
    {
        model()->setValue(u"database_version"_s, 9, true);
        model()->setServerConfig("config", true);
        model()->setDarkMode(true);
        model()->setAccountIds({9007199254740993LL, 2});
        QCOMPARE(model()->accountIds(), (QVariantList{9007199254740993LL, 2LL}));
        QVERIFY(model()->darkMode());
        QSignalSpy ids(model(), &AppSettingModel::accountIdsChanged);
        QSignalSpy reset(model(), &AppSettingModel::paramsBeReseted);
        model()->setAccountIds({});
        QCOMPARE(ids.size(), 2);
        QCOMPARE(reset.size(), 1);
        model()->setAccountIds({});
        QCOMPARE(reset.size(), 2);
        for (int start = 0; start < 2; ++start) {
            QVERIFY(!model()->darkMode());
            QCOMPARE(model()->accountIds(), QVariantList());
            QCOMPARE(model()->serverConfig(), QByteArray("config"));
            QCOMPARE(model()->getValue(u"database_version"_s, 0), 9);
            restart();
        }
    }

    void upgradeInfoIsOneRow()
    {
        // A slot may read what it is told about.
        QVariantMap seen;
        connect(model(), &AppSettingModel::upgradeInfoChanged, this,
                [&] { seen = model()->upgradeInfo(); });
        const QVariantMap info{{u"value"_s, u"2.0"_s}, {u"remark"_s, u"faster"_s}};
        model()->setUpgradeInfo(info);
        QCOMPARE(seen, info);
        const storage::SettingInfo row = storedRows().value(u"upgrade"_s);
        QCOMPARE(row.value, u"2.0"_s);
        QCOMPARE(row.remark, u"faster"_s);
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

        // A new category is stored, but comes into force with the next reading.
        QSignalSpy changed(model(), &AppSettingModel::consoleOptionsChanged);
        model()->changeConsoleOption(u"im.custom"_s, false);
        QCOMPARE(changed.size(), 1);
        QVERIFY(debugEnabled("im.ui"));
        QVERIFY(debugEnabled("im.custom"));
        const QString options = model()->consoleOptions();
        QVERIFY(!debugEnabled("im.custom"));
        QVERIFY(options.endsWith(u"{\"enable\":false,\"uri\":\"im.custom\"}]"_s));
        QCOMPARE(changed[0][0], options);

        // A known one at once.
        model()->changeConsoleOption(u"im.ui"_s, false);
        QVERIFY(!debugEnabled("im.ui"));
        QVERIFY(debugEnabled("im.network"));
        model()->changeConsoleOption(u"im.ui"_s, false);
        QCOMPARE(changed.size(), 2);

        // Stored ones first, in their order, then what is new in the program; nothing is written.
        const QString stored = u"[{\"uri\":\"b\",\"enable\":true},"
                               "{\"uri\":\"im.ui\",\"enable\":false}]"_s;
        model()->setConsoleOptions(stored);
        const QJsonArray merged =
            QJsonDocument::fromJson(model()->consoleOptions().toUtf8()).array();
        QCOMPARE(merged.size(), 20);
        QCOMPARE(merged[0].toObject()[u"uri"].toString(), u"b"_s);
        QCOMPARE(merged[1].toObject()[u"enable"].toBool(true), false);
        QCOMPARE(merged[2].toObject()[u"uri"].toString(), u"im.base"_s);
        QVERIFY(!debugEnabled("im.ui"));
        QCOMPARE(model()->getValue(u"console_options"_s, {}), stored);
    }

    void skinTones()
    {
        const QString hand = u"\u270B"_s;
        const QString fist = u"\u270A"_s;
        QSignalSpy global(model(), &AppSettingModel::globalSkinIndexChanged);
        QCOMPARE(model()->emojiSkinIndex(hand), -1);
        model()->setEmojiSkinIndex(hand, 3);
        model()->setEmojiSkinIndex(fist, 0);
        QCOMPARE(model()->emojiSkinIndex(hand), 3);
        QCOMPARE(model()->emojiSkinIndex(fist), 0);
        model()->setEmojiSkinIndex(fist, -1);
        QCOMPARE(model()->emojiSkinIndex(fist), -1);
        restart();
        QCOMPARE(model()->emojiSkinIndex(hand), 3);
        QVERIFY(model()->getValue(u"emoji_skin_indexes"_s, {}).toString().contains(u'\n'));

        model()->setGlobalSkinIndex(2, false);
        QCOMPARE(model()->globalSkinIndex(), 2);
        QCOMPARE(model()->emojiSkinIndex(hand), -1);
        model()->setEmojiSkinIndex(fist, 1);
        QCOMPARE(model()->emojiSkinIndex(hand), -1);
        // A reset and a write past the setter count as well.
        model()->reset();
        QCOMPARE(model()->emojiSkinIndex(fist), -1);
        model()->setValue(u"emoji_skin_indexes"_s, u"{\"\u270A\": 4}"_s, true);
        QCOMPARE(model()->emojiSkinIndex(fist), 4);
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
            const QVariant object =
                QVariant::fromValue(engine.evaluate(u"({list: [1, 'x'], yes: true})"_s));
            QVERIFY(model()->setValue(u"from_qml"_s, object, true));
        }
        // What cannot be stored keeps nothing else from it.
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"QObject.* cannot be stored: b"_s));
        model()->setValue(u"b"_s, QVariant::fromValue(static_cast<QObject *>(this)), true);
        model()->setValue(u"c"_s, true, true);
        restart();
        const QVariantMap map = model()->getValue(u"from_qml"_s, {}).toMap();
        QCOMPARE(map.value(u"yes"_s), true);
        QCOMPARE(map.value(u"list"_s).toList().value(1), u"x"_s);
        QCOMPARE(model()->getValue(u"c"_s, {}), true);
        QVERIFY(!model()->getValue(u"b"_s, {}).isValid());

        model()->setCountMuteDialog(true);
        model()->setUnreadMessagesCounter(true);
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
        SignalOrder order;
        order.listen(app());
        order.listen(model());
        QSignalSpy width(model(), &AppSettingModel::infoPanelWidthChanged);
        QSignalSpy tools(model(), &AppSettingModel::accountIdsChanged);
        model()->reset();

        static const char expected[] =
            "updateAutomaticallly systemTrayIconVisible launchWhenSystemStart messageFontSize "
            "language languageSwitched sendMessageKeys debug networkProxyState currentNetworkProxy "
            "networkProxyList useProxyForCall themeFontSize msgDoubleClickAction msgSendType "
            "musicPlay darkMode mainwindowGeometry passcode screenLockTime miniSessionMode "
            "infoPanelViewMode infoPanelOutdision infoPanelWidth messageDisplayMode firstDayOfWeek "
            "autoPlayGif autoPlayVideo autoPlayLivePhoto screenCapture upgradeInfo accountIds "
            "currentAccountId unlockWithTouchID appearenceFollowSystemTheme themeColorFollowSystem "
            "saveasPath destructionPasscode countMuteDialog unreadMessagesCounter plainModel "
            "systemFont spellChecker openFilePath handleMarkDown lastUploadLogTime "
            "screenLockErrorCountDownSeconds screenCaptureHotkey screenRecordHotkey showImHotkey "
            "largeEmoji useStandRouting appIcon reduceAnimation consoleOptions isFirstSendReceipt "
            "isFirstReadReceipt isFirstSwitchAccount isFirstDropToMyStorage showTrayIcon "
            "messageBubbleCorners fullScreen isFirstScrollMedia requestUserLocation "
            "sessionListWidth paramsBeReseted";
        QStringList names = QString::fromLatin1(expected).split(u' ');
        for (QString &name : names) {
            if (name != u"languageSwitched" && name != u"paramsBeReseted")
                name += u"Changed"_s;
        }
        // The application's font changes with the theme's; that is no matter of order here.
        order.names.removeAll(u"fontChanged"_s);
        QCOMPARE(order.names, names);
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

    void theModelMayGoBeforeItsTask()
    {
        ThreadManager::getInstance()->init();
        QSemaphore hold;
        ThreadManager::invoke([&] { hold.acquire(); }, true);
        model()->setDarkMode(true);
        QVERIFY(!storedRows().contains(u"dark_mode"_s));
        AppSettingModel::releaseInstance();
        QVERIFY(storedRows().contains(u"dark_mode"_s));
        model()->loadGlobalData();
        model()->setDarkMode(false);
        hold.release();
        ThreadManager::getInstance()->quitAll();
        QCOMPARE(storedRows().value(u"dark_mode"_s).value, false);
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
            storage::GlobalStorageProvider provider;
            provider.open();
            bool whole = true;
            while (!stop) {
                int kept = 0;
                for (const storage::SettingInfo &info : provider.settingStorage()->allInfos()) {
                    kept += info.key == u"server_config" && info.value == QByteArray("config");
                    kept += info.key == u"database_version" && info.value == 9;
                }
                whole = whole && kept == 2;
                ++seen;
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
        QVERIFY(model()->darkMode());
        QCOMPARE(warnings.filter(u"im.settingmodel"_s).size(), 1);

        // Once the way is free, nothing that was changed meanwhile is missing.
        QVERIFY(QDir().rmdir(path));
        model()->loadGlobalData();
        QVERIFY(model()->darkMode());
        restart();
        QVERIFY(model()->darkMode());
        QCOMPARE(model()->getValue(u"3"_s, {}), 3);
    }

    void closingTheStoreKeepsThePending()
    {
        ThreadManager::getInstance()->init();
        QSemaphore hold;
        ThreadManager::invoke([&] { hold.acquire(); }, true);
        model()->setDarkMode(true);
        model()->closeGlobalStorage();
        QVERIFY(storedRows().contains(u"dark_mode"_s));
        hold.release();
        QVERIFY(!model()->globalStorage()->isOpen());
        QVERIFY(model()->darkMode());
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
