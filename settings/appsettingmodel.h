#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"
#include "settings/appdirmanager.h"
#include "settings/settingmacros.h"
#include "settings/settingmodelbase.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QString>
#include <QVariant>

#include <atomic>
#include <memory>
#include <mutex>

namespace storage
{
class GlobalStorageProvider;
class SettingStorage;
} // namespace storage
class EmojiSkins;
template <typename Mutex>
class StoredValues;
class Translations;

/// The machine-wide settings: a cache in memory, written through to the global store in the
/// background. Nothing is read from the store after loadGlobalData(); before it, and if no value is
/// stored, a getter returns the setting's default. QVariant converts a value stored with another
/// type.
///
/// The keys are those of the stored format, odd spellings included, and must not be corrected. A
/// number or text without a comment has a meaning known to the application only: it is kept, and
/// not used here.
///
/// Failures: if a store cannot be opened or written, the model logs it and continues in memory. One
/// process at a time has the store: a second one cannot open it, see isUnread().
///
/// Thread: getters, setters and setValue() may be called from any thread; loadGlobalData(), reset()
/// and everything about the store from the main thread. Signals are emitted on the calling thread,
/// outside the lock except beginConfig, endConfig and upgradeInfoChanged: a slot on these may call
/// back into the model, but must not wait for another thread that does. Changes to the application
/// object (its font, properties, language) are made on that object's thread: at once if that is the
/// caller's, otherwise by that thread's event loop, in the order of the changes and before the
/// slots there receive the caller's later signals.
///
/// Works with a QGuiApplication. Without one the line height is 0; without any application object
/// its properties are neither set nor read. The dynamic properties are "availableLanguages"
/// (QStringList of locale names) and "productColor", which the application sets before other
/// threads read settings, and "fontPixelSize" (int, set by loadGlobalData()) and "autoRun" (false
/// after a reset()), which it reads; in addition, its invokable method "switchLanguage(QString)" is
/// called if there is one.
class MODELBASE_EXPORT AppSettingModel : public SettingModelBase
{
    Q_OBJECT
    MODELBASE_QML_SINGLETON(AppSettingModel, instance)

    // clang-format off
    //      type      name                             Name                             key                                 default
    MODELBASE_SETTING(bool,     updateAutomaticallly,            UpdateAutomaticallly,            "update_automaticallly",            true)
    MODELBASE_SETTING(bool,     systemTrayIconVisible,           SystemTrayIconVisible,           "system_tray_icon_visible",         true)
    MODELBASE_SETTING(bool,     launchWhenSystemStart,           LaunchWhenSystemStart,           "launch_when_system_start",         false)
    MODELBASE_SETTING(int,      messageFontSize,                 MessageFontSize,                 "message_font_size",                12) // contents are laid out by themeFontSize
    MODELBASE_SETTING(bool,     debug,                           Debug,                           "debug",                            false)
    MODELBASE_SETTING(int,      networkProxyState,               NetworkProxyState,               "enable_network_proxy",             0) // 0: no proxy
    MODELBASE_SETTING(QString,  currentNetworkProxy,             CurrentNetworkProxy,             "current_network_proxy",            QStringLiteral("{}")) // JSON text
    MODELBASE_SETTING(bool,     useProxyForCall,                 UseProxyForCall,                 "use_proxy_for_call",               false)
    MODELBASE_SETTING(int,      msgDoubleClickAction,            MsgDoubleClickAction,            "message_double_click_action",      0)
    MODELBASE_SETTING(int,      msgSendType,                     MsgSendType,                     "message_send_type",                0)
    MODELBASE_SETTING(QString,  musicPlay,                       MusicPlay,                       "music_play_sequence",              QStringLiteral("{}")) // JSON text
    MODELBASE_SETTING(bool,     darkMode,                        DarkMode,                        "dark_mode",                        false)
    MODELBASE_SETTING(QString,  mainwindowGeometry,              MainwindowGeometry,              "mainwindow_geometry",              QString()) // JSON text of a map; "width" and "height" in pixels
    MODELBASE_SETTING(QString,  passcode,                        Passcode,                        "passcode",                         QString()) // stored as given, so pass a digest; "": no lock
    MODELBASE_SETTING(int,      screenLockTime,                  ScreenLockTime,                  "screenlocktime",                   3)
    MODELBASE_SETTING(int,      screenLockErrorCountDownSeconds, ScreenLockErrorCountDownSeconds, "screenLockErrorCountDownSeconds",  0)
    MODELBASE_SETTING(bool,     miniSessionMode,                 MiniSessionMode,                 "miniSessionMode",                  false)
    MODELBASE_SETTING(bool,     infoPanelViewMode,               InfoPanelViewMode,               "infoPanelViewMode",                false)
    MODELBASE_SETTING(bool,     infoPanelOutdision,              InfoPanelOutdision,              "infoPanelOutdision",               false)
    MODELBASE_SETTING(int,      messageDisplayMode,              MessageDisplayMode,              "messageDisplayMode",               0)
    MODELBASE_SETTING(int,      firstDayOfWeek,                  FirstDayOfWeek,                  "firstDayOfWeek",                   255)
    MODELBASE_SETTING(bool,     autoPlayGif,                     AutoPlayGif,                     "autoPlayGif",                      true)
    MODELBASE_SETTING(bool,     autoPlayVideo,                   AutoPlayVideo,                   "autoPlayVideo",                    true)
    MODELBASE_SETTING(bool,     autoPlayLivePhoto,               AutoPlayLivePhoto,               "autoPlayLivePhoto",                true)
    MODELBASE_SETTING(QString,  screenCapture,                   ScreenCapture,                   "screencapture",                    QStringLiteral("1,1,1,1,1,1,0,0,0,0,6,0"))
    MODELBASE_SETTING(qint64,   currentAccountId,                CurrentAccountId,                "current_account",                  0)
    MODELBASE_SETTING(bool,     unlockWithTouchID,               UnlockWithTouchID,               "unlockWithTouchID",                false)
    MODELBASE_SETTING(bool,     appearenceFollowSystemTheme,     AppearenceFollowSystemTheme,     "appearence_follow_system_theme",   false)
    MODELBASE_SETTING(bool,     themeColorFollowSystem,          ThemeColorFollowSystem,          "theme_color_follow_system",        false)
    MODELBASE_SETTING(QString,  saveasPath,                      SaveasPath,                      "saveas_path",                      QString())
    MODELBASE_SETTING(QString,  destructionPasscode,             DestructionPasscode,             "destruction_passcode",             QString())
    MODELBASE_SETTING(QString,  incognitoPassword,               IncognitoPassword,               "incognito_password",               QString())
    MODELBASE_SETTING(bool,     countMuteDialog,                 CountMuteDialog,                 "count_mute_dialog",                false)
    MODELBASE_SETTING(bool,     unreadMessagesCounter,           UnreadMessagesCounter,           "unread_messages_counter",          false)
    MODELBASE_SETTING(bool,     plainModel,                      PlainModel,                      "plain_model",                      false)
    MODELBASE_SETTING(bool,     systemFont,                      SystemFont,                      "system_font",                      false)
    MODELBASE_SETTING(bool,     spellChecker,                    SpellChecker,                    "spell_checker",                    true)
    MODELBASE_SETTING(QString,  openFilePath,                    OpenFilePath,                    "open_file_path",                   AppDirManager::instance()->documentDir())
    MODELBASE_SETTING(bool,     handleMarkDown,                  HandleMarkDown,                  "handle_markdown",                  false)
    MODELBASE_SETTING(qint64,   lastUploadLogTime,               LastUploadLogTime,               "last_upload_log_time",             0)
    MODELBASE_SETTING(QString,  appIcon,                         AppIcon,                         "app_icon",                         QStringLiteral("logo_im_light"))
    MODELBASE_SETTING(bool,     largeEmoji,                      LargeEmoji,                      "large_emoji",                      true)
    MODELBASE_SETTING(bool,     useStandRouting,                 UseStandRouting,                 "use_stand_routing",                false)
    MODELBASE_SETTING(bool,     autoDownloadMedia,               AutoDownloadMedia,               "auto_download_media",              true)
    MODELBASE_SETTING(bool,     autoDownloadImageGroupChats,     AutoDownloadImageGroupChats,     "auto_download_image_group_chats",  true)
    MODELBASE_SETTING(bool,     autoDownloadVideoPrivateChats,   AutoDownloadVideoPrivateChats,   "auto_download_video_private_chats", true)
    MODELBASE_SETTING(bool,     autoDownloadVideoGroupChats,     AutoDownloadVideoGroupChats,     "auto_download_video_group_chats",  true)
    MODELBASE_SETTING(bool,     autoDownloadFilePrivateChats,    AutoDownloadFilePrivateChats,    "auto_download_file_private_chats", false)
    MODELBASE_SETTING(bool,     autoDownloadFileGroupChats,      AutoDownloadFileGroupChats,      "auto_download_file_group_chats",   false)
    MODELBASE_SETTING(bool,     reduceAnimation,                 ReduceAnimation,                 "reduce_animation",                 false)
    MODELBASE_SETTING(bool,     isFirstSendReceipt,              IsFirstSendReceipt,              "first_send_receipt",               true)
    MODELBASE_SETTING(bool,     isFirstReadReceipt,              IsFirstReadReceipt,              "first_read_receipt",               true)
    MODELBASE_SETTING(bool,     isFirstSwitchAccount,            IsFirstSwitchAccount,            "first_switch_account",             true)
    MODELBASE_SETTING(bool,     isFirstDropToMyStorage,          IsFirstDropToMyStorage,          "first_drop_mystorage",             true)
    MODELBASE_SETTING(bool,     isFirstScrollMedia,              IsFirstScrollMedia,              "first_scroll_mddia",               true)

    //                                                                                                                               signal's, setter's parameter
    MODELBASE_SETTING_NAMED(bool,   autoDownloadImagePrivateChats, AutoDownloadImagePrivateChats, "auto_download_image_private_chats", true,   bAutoDownload, value)
    MODELBASE_SETTING_NAMED(qint64, localCacheMaxSize,             LocalCacheMaxSize,             "local_cache_max_size",              -1,     maxSize,       value) // bytes; -1: no limit
    MODELBASE_SETTING_NAMED(int,    messageBubbleCorners,          MessageBubbleCorners,          "message_bubble_corners",            18,     bubbleCorners, corners) // pixels
    MODELBASE_SETTING_NAMED(bool,   notiAllAccounts,               NotiAllAccounts,               "noti_all_accounts",                 true,   ,              newNotiAllAccounts)

    // Signals without a value.                                                                                                      setter's parameter
    MODELBASE_SETTING_BARE(bool,    fullScreen,           FullScreen,           "fullScreen",              false,                             value)
    MODELBASE_SETTING_BARE(bool,    destructRecoverable,  DestructRecoverable,  "destruct_recoverable",    false,                             value)
    MODELBASE_SETTING_BARE(QString, appFontFamily,        AppFontFamily,        "app_font_family",         QStringLiteral("ff_default"),      value)
    MODELBASE_SETTING_BARE(bool,    showTrayIcon,         ShowTrayIcon,         "show_tray_icon",          true,                              newShowTrayIcon)
    MODELBASE_SETTING_BARE(QString, cacheDataPath,        CacheDataPath,        "cache_data_path",         AppDirManager::instance()->defaultCacheDataDir(), cacheDataPath)
    MODELBASE_SETTING_BARE(int,     sessionListWidth,     SessionListWidth,     "session_list_width",      296,                               newSessionListWidth) // pixels
    MODELBASE_SETTING_BARE(int,     topicListWidth,       TopicListWidth,       "topic_list_width",        225,                               newTopicListWidth) // pixels
    MODELBASE_SETTING_BARE(bool,    showInDiscussionOnly, ShowInDiscussionOnly, "show_In_discussion_only", false,                             value)
    MODELBASE_SETTING_BARE(bool,    contactsSortBySeen,   ContactsSortBySeen,   "contacts_sort_by_seen",   false,                             value)
    MODELBASE_SETTING_BARE(bool,    noNetworkProhibited,  NoNetworkProhibited,  "no_network_Prohibited",   false,                             value)
    MODELBASE_SETTING_BARE(bool,    darkDims,             DarkDims,             "dark_dims",               false,                             value)

    // Files up to this size in bytes are downloaded automatically.
    MODELBASE_SETTING_LIMIT(autoDownloadImageLimit, AutoDownloadImageLimit, "auto_download_image_limit", 1048576)
    MODELBASE_SETTING_LIMIT(autoDownloadVideoLimit, AutoDownloadVideoLimit, "auto_download_video_limit", 10485760)
    MODELBASE_SETTING_LIMIT(autoDownloadFileLimit,  AutoDownloadFileLimit,  "auto_download_file_limit",  10485760)

    // Maps and lists, stored as JSON.
    MODELBASE_SETTING_MAP(screenRecordHotkey, ScreenRecordHotkey, "screenRecordHotKey")
    MODELBASE_SETTING_MAP(showImHotkey,       ShowImHotkey,       "showImHotKey")
    MODELBASE_SETTING_MAP(imageEditTool,      ImageEditTool,      "image_edit_tool")
    MODELBASE_SETTING_MAP(whiteboardTool,     WhiteboardTool,     "whiteboard_tool")
    MODELBASE_SETTING_MAP_BARE(imageEditSetting, ImageEditSetting, "image_edit_setting")
    MODELBASE_SETTING_LIST_BARE(leftSessionItemTools,  LeftSessionItemTools,  "left_session_item_tools",  "[\"mark_as_unread\",\"later\"]")
    MODELBASE_SETTING_LIST_BARE(rightSessionItemTools, RightSessionItemTools, "right_session_item_tools", "[\"pin\",\"mute\",\"archive\"]")
    MODELBASE_SETTING_LIST_BARE(settingSearchHistory,  SettingSearchHistory,  "setting_search_history",   "[]")

    // For the program's own code: no property, no signal, and a setter always saves. QML may call
    // the first two setters.
    MODELBASE_SETTING_HANDED(QByteArray, lastDeviceIds,        LastDeviceIds,        "last_device_ids",         QByteArray(), deviceIds)
    MODELBASE_SETTING_HANDED(QByteArray, newDeviceLoginRemind, NewDeviceLoginRemind, "new_device_login_remind", QByteArray(), devices) // used by NewDeviceLoginManager
    MODELBASE_SETTING_STORED(QByteArray, movedDataInfo,        MovedDataInfo,        "moved_data_info",         QByteArray()) // used by AppDataMove
    MODELBASE_SETTING_STORED(QString,    oldCacheDataPath,     OldCacheDataPath,     "old_cache_data_path",     QString())
    MODELBASE_SETTING_STORED(qint64,     lastDumpLogTime,      LastDumpLogTime,      "last_dump_log_time",      0)
    MODELBASE_SETTING_STORED(qint64,     uploadFileSizeLimit,  UploadFileSizeLimit,  "file_size_limit",         1610612736) // bytes
    MODELBASE_SETTING_INTERNAL(QString, gradientColor,      "gradient_color",       QString())
    MODELBASE_SETTING_INTERNAL(QString, gradientStartColor, "gradient_start_color", QString())
    MODELBASE_SETTING_INTERNAL(int,     chatBackgroundMode, "chat_background_mode", 0)
    MODELBASE_SETTING_INTERNAL(QString, selectedLanguage,   "language",             QString()) // "": none selected

    // Settings with their own implementation; declared below, wholly or in part.
    MODELBASE_SETTING_PROPERTY(QString,      language,            Language)
    MODELBASE_SETTING_PROPERTY(QString,      consoleOptions,      ConsoleOptions)
    MODELBASE_SETTING_PROPERTY(int,          themeFontSize,       ThemeFontSize)
    MODELBASE_SETTING_PROPERTY(int,          infoPanelWidth,      InfoPanelWidth)
    MODELBASE_SETTING_PROPERTY(QVariantMap,  upgradeInfo,         UpgradeInfo)
    MODELBASE_SETTING_PROPERTY(QVariantList, accountIds,          AccountIds)
    MODELBASE_SETTING_PROPERTY(bool,         requestUserLocation, RequestUserLocation)
    MODELBASE_SETTING_GETTER(QString, sendMessageKeys,  SendMessageKeys,  "sendMsgKeys",        QStringLiteral("16777221")) // key code of the keypad's Enter
    MODELBASE_SETTING_GETTER(QString, networkProxyList, NetworkProxyList, "network_proxy_list", QStringLiteral("[]")) // JSON text
    MODELBASE_SETTING_GETTER(int,     globalSkinIndex,  GlobalSkinIndex,  "global_skin_index",  -1) // -1: no tone
    MODELBASE_SETTING_MAP_GETTER(screenCaptureHotkey, ScreenCaptureHotkey, "screenCaptureHotKey")
    // clang-format on

public:
    /// The process-wide model; the first call makes it, on the main thread.
    static AppSettingModel *instance();
    /// Writes pending changes, within 5 seconds, whatever the disk and other threads do, and
    /// deletes the model; the log names the keys that could not be written. Call it on the main
    /// thread, after AccountManager::releaseInstance() and before ThreadManager::quitAll().
    ///
    /// Until it returns, message handlers and slots on destroyed() get a stand-in from instance():
    /// it reads as the model did, and discards changes. Afterwards instance() makes a new model.
    static void releaseInstance();

    /// Opens the store and fills the cache; call it once at start-up, before any getter. Sets the
    /// application's font size, its dynamic property "fontPixelSize" and its language (by its
    /// method "switchLanguage", if it has one), and announces the hot keys.
    ///
    /// If the store cannot be opened, the save thread tries again, first after a second, later each
    /// minute. Once it opens, its values replace the defaults, except settings changed and saved
    /// meanwhile, and all are announced as by a reset().
    Q_INVOKABLE void loadGlobalData();
    /// True after a loadGlobalData() that could not open the store, until the store has been read.
    /// Meanwhile AccountManager stores no list of accounts, since it would replace a list that was
    /// not read.
    bool isUnread() const;

    /// The value stored under `key`, or `defaultValue`.
    ///
    /// The reference points into the cache, or to the argument. It is valid until the model is
    /// reset, loaded again or deleted, and its value changes with the next setValue() of the key:
    /// use it at once, and only if no other thread changes the key. value() and the typed getters
    /// return copies, and are safe on any thread.
    const QVariant &getValue(const QString &key, const QVariant &defaultValue) const;
    QVariant value(const QString &key, const QVariant &defaultValue) const override;
    /// Changes a value, and saves it if `needSave`. False when it is equal to the present one, and,
    /// with a log line, when storage::RowStorage::isStorable() refuses it, for example a function,
    /// a QObject, or a map that contains one: then the old value stays. A script's object or array
    /// is kept as a map or list. Emits no property signal; the typed setters do that. The setters
    /// of maps and lists refuse the same values, except an object that contains itself: QML makes
    /// the map that they receive, and leaves such a part empty.
    Q_INVOKABLE bool setValue(const QString &key, const QVariant &value, bool needSave);
    /// Writes one row to the store in the background, bypassing the cache, if `needSave`.
    void saveToConfig(QString key, QVariant value, bool needSave);
    void saveToConfig(QString key, QVariant value, QString remark, bool needSave);
    /// Likewise writes several rows, always, in one transaction: after a kill all of them are
    /// stored or none. If setValue() would refuse one of them, none is written, with a log line.
    void saveToConfig(const QVariantMap &rows);
    /// Removes a value from memory, and its row in the background. Emits nothing.
    void removeKey(const QString &key);
    /// Returns when all changes so far are on the disk, where even a power cut cannot undo them.
    /// False when the store cannot be written to, or isUnread(): the changes are kept, and tried
    /// again later. From any thread; on the main thread it first tries to open an unread store.
    /// Without a flush, a saved change survives a kill as soon as the save thread has written it; a
    /// power cut may undo the last second.
    bool flush();
    /// The same on a separate thread, until `deadline` at most, whatever the disk does.
    bool flush(QDeadlineTimer deadline);

    /// Removes all settings except "database_version", "server_config", "left_media" and
    /// "left_stores" (what AppDataMove and AccountManager have yet to delete), in one transaction
    /// of the store, and announces the defaults. After paramsBeReseted, values without a signal of
    /// their own must be read again. Signs nobody out: AccountManager stores its accounts again,
    /// and a kill in between loses none. While an account stays signed in, the record of former
    /// media directories stays as well, see AppDirManager. If a handler of a reset's signals calls
    /// it, it removes the settings at once, and everything is announced once more when the
    /// handler's reset is done; not a third time. While isUnread() it only logs, since the stored
    /// accounts are not known, unless an empty list of accounts has been set (by AccountManager,
    /// when all accounts are signed out or wiped).
    Q_INVOKABLE void reset();
    /// Resets countMuteDialog and unreadMessagesCounter to false.
    Q_INVOKABLE void resetBadgeCounter();

    /// The language in use, as a locale name: the selected one, otherwise one of the system's
    /// languages that the application has (its dynamic property "availableLanguages").
    QString language() const;
    /// Selects a language and announces it. It does not call the application's method
    /// "switchLanguage", as loadGlobalData() and reset() do: the application follows
    /// languageChanged. Slots on languageChanged find the texts of the new language loaded. After
    /// it, the objects that show such texts are notified: those with a LanguageFollower, such as
    /// items of alerts and calls.
    Q_INVOKABLE void setLanguage(QString value, bool needSave = true);
    /// The texts in that language: the library's own, to which the application adds its catalogues.
    /// Owned by the model, for the main thread.
    Translations *translations() const;

    /// An empty text is ignored.
    Q_INVOKABLE void setSendMessageKeys(QString value, bool needSave = true);
    /// An empty list switches the proxy off.
    Q_INVOKABLE void setNetworkProxyList(QString value, bool needSave = true);
    /// Pixels, 1 to 1000; 14 by default.
    int themeFontSize() const;
    /// When the change is announced, the application font and lineHeigt() have the new size; if
    /// another thread than the application's calls it, the font follows there. Any other size is
    /// refused, with a log line.
    Q_INVOKABLE void setThemeFontSize(int value, bool needSave = true);
    /// The signal carries the map as the getter returns it.
    Q_INVOKABLE void setScreenCaptureHotkey(QVariantMap value, bool needSave = true);

    /// Pixels, 320 to 480.
    int infoPanelWidth() const;
    Q_INVOKABLE void setInfoPanelWidth(int value, bool needSave = true);

    /// The version offered ("value") and its notes ("remark"); empty when there is none.
    QVariantMap upgradeInfo() const;
    Q_INVOKABLE void setUpgradeInfo(QVariantMap value, bool needSave = true);

    /// The ids of the accounts that are signed in on this machine.
    QVariantList accountIds() const;
    /// An empty list resets all settings, since no account is left to own them. While isUnread()
    /// any other list stays in memory.
    Q_INVOKABLE void setAccountIds(QVariantList value, bool needSave = true);

    /// Which logging categories write debug lines: a JSON array of {"uri": prefix, "enable": bool}.
    /// Each call adds the categories that stored choices lack, and applies the options: they have
    /// no effect until it is called, so an application calls it right after loadGlobalData(). The
    /// libraries log under "im.base" (base, cryptobase, imlog), "im.storage" (storage, imcrypto),
    /// "im.multimedia", "im.settingmodel" (settings) and "im.modelbase".
    QString consoleOptions() const;
    Q_INVOKABLE void setConsoleOptions(QString newConsoleOptions, bool needSave = true);
    /// Switches one category and saves the options. A new category is appended; the next
    /// consoleOptions() applies it.
    Q_INVOKABLE void changeConsoleOption(QString uri, bool enabled);

    /// The skin tone chosen for one emoji; -1 when none was.
    Q_INVOKABLE int emojiSkinIndex(QString emoji) const;
    /// Chooses a tone for one emoji, -1 for none; always saved. Emits nothing.
    Q_INVOKABLE void setEmojiSkinIndex(QString emoji, int index);
    /// Chooses the tone for all emoji, and clears the choices for single ones.
    Q_INVOKABLE void setGlobalSkinIndex(int index, bool needSave = true);

    /// Kept in memory only.
    bool requestUserLocation() const;
    void setRequestUserLocation(bool newRequestUserLocation);

    /// The configuration that the server sent last; outlives a reset.
    QByteArray serverConfig() const;
    void setServerConfig(QByteArray serverConfig, bool needSave);

    /// The stored theme colour, or the application's dynamic property "productColor".
    QString themeColor() const;
    /// The resource path of the application icon.
    QString appIconPath() const;

    /// True when a theme was chosen, even in part.
    bool containsCustomThemeInfo() const;
    /// True when the automatic download was ever set.
    bool containsAutoDownloadSetting() const;

    /// Pixel height of one text line at the theme's font size; 0 before loadGlobalData().
    int lineHeigt() const;
    /// Measures a line at the theme's size again, before it returns, and gives the application font
    /// that size.
    void recalcLineHeight();

    /// The store; owned by the model.
    storage::GlobalStorageProvider *globalStorage() const;
    /// Writes pending changes and closes the store, within 5 seconds, whatever the disk and other
    /// threads do. Later changes stay in memory until loadGlobalData() opens it again. Must not be
    /// called by a crash handler, see AccountManager::closeAllDbInCrash().
    void closeGlobalStorage();

Q_SIGNALS:
    /// Before and after a change of "large_emoji" or "plain_model", on which the sizes of messages
    /// depend: the key with the old value (invalid when there was none), and with the new one.
    void beginConfig(QString key, QVariant value);
    void endConfig(QString key, QVariant value);
    /// The last signal of a reset.
    void paramsBeReseted();
    /// The settings can be read now, after isUnread(): the first signal of a late loadGlobalData().
    /// `rows` are the store's rows, including those that a later reset is about to remove.
    void storeRead(const QVariantMap &rows);

    void languageChanged(QString);
    void sendMessageKeysChanged(QString);
    void networkProxyListChanged(QString);
    void themeFontSizeChanged(int);
    void screenCaptureHotkeyChanged(QVariantMap hotKeyInfo);
    void infoPanelWidthChanged(int);
    void upgradeInfoChanged(QVariantMap);
    void accountIdsChanged(QVariantList);
    void consoleOptionsChanged(QString options);
    void emojiSkinIndexChanged();
    void globalSkinIndexChanged();
    void requestUserLocationChanged();

private:
    AppSettingModel();
    ~AppSettingModel() override;
    Q_DISABLE_COPY_MOVE(AppSettingModel)

    bool read(const QString &key, bool fallback) const;
    int read(const QString &key, int fallback) const;
    qint64 read(const QString &key, qint64 fallback) const;
    QString read(const QString &key, const QString &fallback) const;
    QByteArray read(const QString &key, const QByteArray &fallback) const;
    void setApplicationProperty(const char *name, const QVariant &value);
    void loadTranslations();
    void switchLanguage();
    void retranslate();
    void keepSignedIn();
    void dropSignedIn();
    void announceAll();
    void readLater(int ms);
    bool readNow();
    void closeStorage();

    // Recursive, so that slots on the signals that are emitted under it can read the settings.
    using Values = StoredValues<std::recursive_mutex>;

    std::atomic_bool m_isUnread = false;
    enum class Resets { None, One, More } m_resets = Resets::None; // being announced
    QVariantMap m_signedIn; // during a reset: the rows of the signed-in accounts
    storage::GlobalStorageProvider *const m_storage;
    std::unique_ptr<Values> m_values; // its lock also guards the other members
    std::unique_ptr<Translations> m_translations;
    QString m_shownLanguage; // of the last retranslate(); main thread
    std::atomic<int> m_lineHeight = 0;
    std::atomic<bool> m_requestUserLocation = true;
    const std::unique_ptr<EmojiSkins> m_skins;
};
