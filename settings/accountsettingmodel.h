#pragma once

#include "core/modelbase.h"
#include "core/valuecache.h"
#include "modelbase_export.h"
#include "modelbase_qml.h"
#include "settings/settingmacros.h"
#include "settings/settingmodelbase.h"

#include <QDeadlineTimer>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QVariant>

#include <functional>
#include <memory>

class AccountBase;
template <typename Mutex>
class StoredValues;
namespace storage
{
class SettingStorage;
} // namespace storage

// A switch in one of the two configurations that the account's devices share, stored as `type`
// under `key`: a property with its getter, signal and setter; with `needSync` the setter passes the
// whole configuration on.
#define MODELBASE_SYNCED_SWITCH(Configuration, type, name, Name, key, fallback, parameter, signal, \
                                change)                                                            \
    MODELBASE_SETTING_PROPERTY(bool, name, Name)                                                   \
    bool name() const                                                                              \
    {                                                                                              \
        return read##Configuration(QStringLiteral(key), fallback);                                 \
    }                                                                                              \
    Q_INVOKABLE void set##Name(bool parameter, bool needSync = true)                               \
    {                                                                                              \
        if (write##Configuration(QStringLiteral(key), type(parameter), needSync))                  \
            Q_EMIT change;                                                                         \
    }                                                                                              \
Q_SIGNALS:                                                                                         \
    void signal;

#define MODELBASE_NOTIFICATION(type, name, Name, key, fallback, changedParameter, parameter)       \
    MODELBASE_SYNCED_SWITCH(Notification, type, name, Name, key, fallback, parameter,              \
                            name##Changed(bool changedParameter), name##Changed(parameter))
#define MODELBASE_NOTIFICATION_BARE(type, name, Name, key, fallback)                               \
    MODELBASE_SYNCED_SWITCH(Notification, type, name, Name, key, fallback, value, name##Changed(), \
                            name##Changed())
#define MODELBASE_CHAT_FOLDER(name, Name, key, fallback)                                           \
    MODELBASE_SYNCED_SWITCH(ChatFolder, bool, name, Name, key, fallback, value,                    \
                            name##Changed(bool), name##Changed(value))

/// The settings of one account. Most are rows of the account's store, cached and written through
/// like those of AppSettingModel. A change belongs to the store that is open when it is made; while
/// none is open for the account's id, it stays in memory until the next load. The account's devices
/// share the settings of notifications and chat folders: two maps, read from and passed to
/// AccountBase::configurationService() as JSON under the names "mobileNotification" and
/// "dialog_folder_config".
///
/// The keys are those of the stored format, odd spellings included, and must not be corrected. As
/// in AppSettingModel, a number or text without a comment has a meaning known to the application
/// only.
///
/// Failures of the store are logged; the write is repeated with the next change. A power cut may
/// undo the latest changes, see AppSettingModel::flush().
///
/// Thread: getters and setters of rows, getValue() and setValue() may be called from any thread;
/// the two shared maps, the tags, loading and flush() belong to the account's thread. Signals are
/// emitted on the calling thread, without a lock.
///
/// Owned by the account; QML never deletes it.
class MODELBASE_EXPORT AccountSettingModel : public SettingModelBase, public ModelBase
{
    Q_OBJECT
    MODELBASE_QML_TYPE

    // clang-format off
    //      type     name                     Name                     key                              default
    MODELBASE_SETTING(bool,    showArchivedFolder,      ShowArchivedFolder,      "show_archived_folder",          true)
    MODELBASE_SETTING(bool,    fullPreviewState,        FullPreviewState,        "full_preview_state",            true)
    MODELBASE_SETTING(QString, lastLocation,            LastLocation,            "last_latlog",                   QString())
    MODELBASE_SETTING(QString, linkBaseHost,            LinkBaseHost,            "link_base_host",                QString())
    MODELBASE_SETTING(int,     passcodeNotify,          PasscodeNotify,          "passcodeNotify",                0)
    MODELBASE_SETTING(bool,    syncMyFocusStatus,       SyncMyFocusStatus,       "syncMyFocusStatus_setting",     false)
    MODELBASE_SETTING(double,  voiceDefalutPlaySpeed,   VoiceDefalutPlaySpeed,   "voice_default_play_speed",      2.0)
    MODELBASE_SETTING(bool,    suggestFreqContacts,     SuggestFreqContacts,     "suggest_freq_contacts",         true)
    MODELBASE_SETTING(bool,    bounceDockIcon,          BounceDockIcon,          "bounce_dock_icon",              false)
    MODELBASE_SETTING(bool,    hexColorFormat,          HexColorFormat,          "hex_color_format",              false)
    MODELBASE_SETTING(int,     callChangerType,         CallChangerType,         "call_changer_type",             0)
    MODELBASE_SETTING(int,     unencryptKeepType,       UnencryptKeepType,       "unencrypt_keep_type",           0)
    MODELBASE_SETTING(bool,    syncDeviceFocusState,    SyncDeviceFocusState,    "sync_device_focus_state",       true)
    MODELBASE_SETTING(bool,    suggestStickersByEmoji,  SuggestStickersByEmoji,  "suggest_stickers_by_emoji",     true)
    MODELBASE_SETTING(bool,    suggestAnimatedEmoji,    SuggestAnimatedEmoji,    "suggest_animated_emoji",        true)
    MODELBASE_SETTING(bool,    loopAnimatedStickers,    LoopAnimatedStickers,    "loop_animated_stickers",        true)
    MODELBASE_SETTING(bool,    allowDoubleCopy,         AllowDoubleCopy,         "allow_double_copy",             true)

    //                                                                                                          signal's, setter's parameter
    MODELBASE_SETTING_NAMED(bool, alwaysShowNotification, AlwaysShowNotification, "show_notification",             false,  showNotification,        value)
    MODELBASE_SETTING_NAMED(int,  superGroupLimit,        SuperGroupLimit,        "super_group_limit",             100000, limit,                   value) // members
    MODELBASE_SETTING_NAMED(bool, cloudDriveSecurityTips, CloudDriveSecurityTips, "clouddrive_securitytips",       true,   securityTips,            value)
    MODELBASE_SETTING_NAMED(bool, cloudDriveSendTips,     CloudDriveSendTips,     "clouddrive_sendtips",           true,   sendTips,                value)
    MODELBASE_SETTING_NAMED(int,  supportedMeetingType,   SupportedMeetingType,   "supported_meeting_type",        0,      newSupportedMeetingType, value) // AccountBase::SupportedMeetingType
    MODELBASE_SETTING_NAMED(int,  voiceChangerType,       VoiceChangerType,       "voice_changer_type",            0,      changerType,             value)
    MODELBASE_SETTING_NAMED(int,  encryptKeepType,        EncryptKeepType,        "encrypt_keep_type",             4,      keepType,                value)
    MODELBASE_SETTING_NAMED(bool, tabsViewOnTop,          TabsViewOnTop,          "tabs_view_mode_top",            true,   newTabsViewOnTop,        value)
    MODELBASE_SETTING_NAMED(int,  leftTabWidth,           LeftTabWidth,           "left_tab_width",                72,     newLeftTabWidth,         value) // pixels

    // Signals without a value.
    MODELBASE_SETTING_BARE(bool, supportNSFW,          SupportNSFW,          "surport_NSFW",            false, value)
    MODELBASE_SETTING_BARE(bool, allowNSFW,            AllowNSFW,            "allow_NSFW",              false, value)
    MODELBASE_SETTING_BARE(bool, showReactionResult,   ShowReactionResult,   "show_reaction",           true,  value)
    MODELBASE_SETTING_BARE(bool, showInDiscussionOnly, ShowInDiscussionOnly, "show_in_discussion_only", true,  value)
    MODELBASE_SETTING_BARE(bool, mediaMessageExif,     MediaMessageExif,     "media_message_exif",      true,  value)
    MODELBASE_SETTING_BARE(bool, fileMessageExif,      FileMessageExif,      "file_message_exif",       false, value)

    // Without property and signal.
    MODELBASE_SETTING_SILENT(int,     groupKeepTime,   GroupKeepTime,   "group_keep_time",   -1)
    MODELBASE_SETTING_SILENT(int,     privateKeepTime, PrivateKeepTime, "private_keep_time", -1)
    MODELBASE_SETTING_SILENT(QString, currentDialogId, CurrentDialogId, "current_dialog_id", QString())

    // The user interface writes these through setValue().
    MODELBASE_SETTING_READONLY(QString, aiteNotificationToneName,       "aite_notifications_tone_name",      QStringLiteral("system_ringtone"))
    MODELBASE_SETTING_READONLY(QString, notificationToneName,           "notifications_tone_name",           QStringLiteral("system_ringtone"))
    MODELBASE_SETTING_READONLY(QString, chatBackgroundColor,            "chat_background_color",             QStringLiteral("#EBECEF"))
    MODELBASE_SETTING_READONLY(QString, darkModeChatBackgroundColor,    "dark_mode_chat_background_color",   QStringLiteral("#121212"))
    MODELBASE_SETTING_READONLY(QString, chatBackgroundGradientColor,    "chat_background_gradient_color",    QString())
    MODELBASE_SETTING_READONLY(int,     chatBackgroundGradientRotation, "chat_background_gradient_rotation", 0) // degrees
    MODELBASE_SETTING_READONLY(QString, chatBackgroundId,               "chat_background_id",                QString())
    MODELBASE_SETTING_READONLY(int,     chatBackgroundBlur,             "chat_background_blur",              0)
    MODELBASE_SETTING_READONLY(int,     chatShaderOpacity,              "chat_shader_opacity",               40) // percent

    // Records in the writer's own form. A setter always saves.                                                    setter's parameter
    MODELBASE_SETTING_RECORD(QByteArray, colorCircles,        updateColorCircles,     "color_circles",          QByteArray(), value)
    MODELBASE_SETTING_RECORD(int,        selectColorCircleId, setSelectColorCircleId, "select_color_circle_id", 0,            id)
    MODELBASE_SETTING_RECORD(QByteArray, currentTheme,        updateCurrentTheme,     "current_theme",          QByteArray(), value)
    MODELBASE_SETTING_RECORD(QByteArray, nearestVisitChats,   setNearstVisitChats,    "nearest_visit_chats",    QByteArray(), value)
    MODELBASE_SETTING_RECORD(QByteArray, exportMsgInfo,       setExportMsgInfo,       "export_msg_info",        QByteArray(), value)
    MODELBASE_SETTING_RECORD(QByteArray, privacySettings,     savePrivacySettings,    "privacy_settings",       QByteArray(), value)
    MODELBASE_SETTING_RECORD(qint64,     deviceMsgOffset,     saveDeviceMsgOffset,    "device_message_offset",  0,            offset)
    MODELBASE_SETTING_MAP_RECORD(syncMsgInfo,      SyncMsgInfo,      "sync_msg_info",       value)
    MODELBASE_SETTING_MAP_RECORD(syncMsgStateInfo, SyncMsgStateInfo, "sync_msg_state_info", value)
    MODELBASE_SETTING_MAP_READONLY(notebookSetting, "notebook_setting")

    // Notifications; stored as different types, which is part of the shared format.
    //            stored as  name                    Name                    key                          default                                        signal's, setter's parameter
    MODELBASE_NOTIFICATION(bool,       globalNotifications,    GlobalNotifications,    "notifications",             read(QStringLiteral("notifications"), true),   notifications,  value)
    MODELBASE_NOTIFICATION(bool,       globalMessagePreview,   GlobalMessagePreview,   "messagePreview",            read(QStringLiteral("messagePreview"), true),  messagePreview, value)
    MODELBASE_NOTIFICATION(int,        notifyReply,            NotifyReply,            "reply",                     true,                                          ,               value)
    MODELBASE_NOTIFICATION(int,        notifyAite,             NotifyAite,             "at",                        true,                                          ,               value)
    MODELBASE_NOTIFICATION(int,        notifyAiteAll,          NotifyAiteAll,          "atAll",                     true,                                          ,               nofityAiteAll)
    MODELBASE_NOTIFICATION(int,        muteNewGroup,           MuteNewGroup,           "muteNewGroup",              false,                                         ,               value)
    MODELBASE_NOTIFICATION(int,        autoHideArchivedFolder, AutoHideArchivedFolder, "auto_hide_archived_folder", false,                                         ,               value)
    MODELBASE_NOTIFICATION_BARE(int,   notificationReaction,   NotificationReaction,   "reaction",                  true)

    // Chat folders.
    MODELBASE_CHAT_FOLDER(chatFolderShowTabs,    ChatFolderShowTabs,    "show_tab",     true)
    MODELBASE_CHAT_FOLDER(chatFolderUnreadBadge, ChatFolderUnreadBadge, "unread_badge", true)
    MODELBASE_CHAT_FOLDER(chatFolderIconOnly,    ChatFolderIconOnly,    "icon_only",    false)

    // Settings with their own implementation; declared below, wholly or in part.
    MODELBASE_SETTING_PROPERTY(QString, downloadFolder, DownloadFolder)
    MODELBASE_SETTING_GETTER(bool, openNotebook, OpenNotebook, "opennotebook_setting", false)
    // clang-format on

public:
    /// @param account the owner, whose store and configuration are used
    explicit AccountSettingModel(AccountBase *account);
    /// Writes pending changes.
    ~AccountSettingModel() override;

    AccountBase *account() const { return m_account; }

    /// Fills the model from the store and the configuration service, takes over what older versions
    /// stored elsewhere, and announces what may be displayed already. Does nothing when `skip` is
    /// true.
    void loadLocalData(bool skip) override;
    /// Empties the cache and the two shared maps, then announces the properties that differ; stored
    /// values stay. The argument is ignored.
    void clearData(bool clear) override;
    /// As AppSettingModel::flush().
    bool flush();
    /// The same on a separate thread, until `deadline` at most, whatever the disk does.
    bool flush(QDeadlineTimer deadline);

    /// As AppSettingModel::getValue(), including the lifetime of the reference.
    const QVariant &getValue(const QString &key, const QVariant &defaultValue) const;
    QVariant value(const QString &key, const QVariant &defaultValue) const override;
    /// As AppSettingModel::setValue().
    Q_INVOKABLE bool setValue(const QString &key, const QVariant &value, bool needSave);
    /// Writes one row to the store in the background, bypassing the cache, if `needSave`.
    void saveToCoreDb(QString key, QVariant value, bool needSave);
    /// Removes one row from the store in the background; it stays in the cache until the next load.
    void removeKey(QString key);

    /// A local path; by default the application's folder (its dynamic property "imName") among the
    /// user's downloads.
    QString downloadFolder() const;
    Q_INVOKABLE void setDownloadFolder(QString value, bool needSave = true);
    /// Kept in memory only, until the next load.
    Q_INVOKABLE void setOpenNotebook(bool isOpen);
    /// Emits nothing.
    Q_INVOKABLE void setNotebookSetting(QVariantMap notebookSetting, bool needSave);
    /// True when a chat background was chosen, even in part.
    bool containsCustomThemeInfo() const;

    /// Takes over what another device set, under the keys above; passes nothing on.
    Q_INVOKABLE void updateNotifyConfig(QVariantMap config);
    /// Switches globalNotifications, globalMessagePreview, alwaysShowNotification and the three
    /// notify settings on, bounceDockIcon off. Passed on only if notifyAiteAll was off.
    Q_INVOKABLE void resetNotification();
    /// What is announced for a muted group, instead of the general choice; always passed on.
    Q_INVOKABLE void updateMutedGroupNotification(QString dialogId, bool reply, bool at,
                                                  bool atAll);
    Q_INVOKABLE void deleteMutedGroupNotification(QString dialogId);

    /// Reads the configuration of the chat folders; loadLocalData() does so. Emits nothing.
    void initChatFolderConfig();
    /// Also for keys that have no property.
    Q_INVOKABLE QVariant getChatFolderValue(const QString &key, const QVariant &defaultValue) const;
    /// Takes over what another device set, as JSON; a switch missing there returns to its default.
    /// Passes nothing on.
    Q_INVOKABLE void updateChatFolderConfig(QByteArray json);

    // The tags used last, texts, the latest first; at most 100.

    Q_INVOKABLE void setTagInfo(QVariantList tags, bool needSave);
    /// Notes the use of these tags, the last of them as the latest. The first call ever keeps their
    /// order.
    Q_INVOKABLE void updateTagInfo(const QVariantList &tags);
    Q_INVOKABLE void removeTag(QString tag);
    /// The tags that contain the text, case-sensitively, in order.
    Q_INVOKABLE QVariantList queryTagInfo(QString tag) const;

Q_SIGNALS:
    void downloadFolderChanged(QString);
    void openNotebookChanged(bool);

private:
    friend class AccountBase; // which opens and closes the store

    /// What the settings need from their account.
    struct Owner {
        storage::SettingStorage *rows;
        std::function<qint64()> id;
        // The configuration that the account's devices share, a JSON text by its name.
        std::function<QByteArray(const QString &name)> sharedText;
        std::function<void(const QString &name, const QByteArray &json)> saveSharedText;
    };
    AccountSettingModel(AccountBase *account, QObject *parent, Owner owner);

    void clear();
    QVariantList propertyValues() const;
    void announceChanges(const QVariantList &before);
    bool read(const QString &key, bool fallback) const;
    int read(const QString &key, int fallback) const;
    qint64 read(const QString &key, qint64 fallback) const;
    double read(const QString &key, double fallback) const;
    QString read(const QString &key, const QString &fallback) const;
    QByteArray read(const QString &key, const QByteArray &fallback) const;
    bool readNotification(const QString &key, bool fallback) const;
    bool writeNotification(const QString &key, const QVariant &value, bool needSync);
    void syncNotification() const;
    bool readChatFolder(const QString &key, bool fallback) const;
    bool writeChatFolder(const QString &key, bool value, bool needSync);
    QVariantList mutedGroups() const;
    void setMutedGroups(const QVariantList &entries);
    void upgradeSetting(const ValueCache &rows);
    void upgradeFrequentContact(ValueCache &rows);

    using Values = StoredValues<QMutex>;
    const std::unique_ptr<Values> m_values;
    QVariantMap m_notification;
    QVariantMap m_chatFolder;
    AccountBase *const m_account;
    const Owner m_owner;
};
