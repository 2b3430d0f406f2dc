#include "settings/accountsettingmodel.h"

#include "base/util.h"
#include "core/storedvalues_p.h"
#include "settings/appsettingmodel.h"
#include "settings/settingmodel_p.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"

#include <QCoreApplication>
#include <QJSEngine>
#include <QMetaProperty>
#include <QPointer>
#include <QStandardPaths>

#include <algorithm>
#include <array>

namespace
{

constexpr qsizetype maxTags = 100;

// Names of the shared configurations.
constexpr auto notificationName = [] { return QStringLiteral("mobileNotification"); };
constexpr auto chatFolderName = [] { return QStringLiteral("dialog_folder_config"); };

// Keys.
constexpr auto downloadFolderKey = [] { return QStringLiteral("download_folder"); };
constexpr auto tagKey = [] { return QStringLiteral("tag_info"); };
constexpr auto groupKey = [] { return QStringLiteral("group"); };
constexpr auto exceptionsKey = [] { return QStringLiteral("exceptionMention"); };
constexpr auto dialogKey = [] { return QStringLiteral("dialogID"); };

/// True if the map holds this boolean value under the key.
bool has(const QVariantMap &map, const QString &key, bool value)
{
    const auto found = map.constFind(key);
    return found != map.cend() && found->toBool() == value;
}

qsizetype indexOfDialog(const QVariantList &entries, const QString &dialogId)
{
    const auto isDialog = [&](const QVariant &entry) {
        return entry.toMap().value(dialogKey()).toString() == dialogId;
    };
    const auto found = std::find_if(entries.cbegin(), entries.cend(), isDialog);
    return found == entries.cend() ? -1 : found - entries.cbegin();
}

/// Where an older version's account setting goes: a setting for all accounts of the machine.
struct MovedSetting {
    const char *key;
    const char *target; ///< its key there
    /// Sets it there without saving it; returns the value, or an invalid one if it is not usable.
    QVariant (*set)(AppSettingModel *settings, const QVariant &value);
};

template <typename T, auto setter>
QVariant take(AppSettingModel *settings, const QVariant &value)
{
    const std::optional<T> taken = convertedTo<T>(value);
    if (!taken)
        return {};
    (settings->*setter)(*taken, false);
    return *taken;
}

constexpr std::array movedSettings = {
    // clang-format off
    MovedSetting{"auto_download_media",               "auto_download_media",               take<bool, &AppSettingModel::setAutoDownloadMedia>},
    MovedSetting{"auto_download_private_chats",       "auto_download_image_private_chats", take<bool, &AppSettingModel::setAutoDownloadImagePrivateChats>},
    MovedSetting{"auto_download_group_chats",         "auto_download_image_group_chats",   take<bool, &AppSettingModel::setAutoDownloadImageGroupChats>},
    MovedSetting{"auto_download_photo_limit",         "auto_download_image_limit",         take<int,  &AppSettingModel::setAutoDownloadImageLimit>},
    MovedSetting{"auto_download_video_private_chats", "auto_download_video_private_chats", take<bool, &AppSettingModel::setAutoDownloadVideoPrivateChats>},
    MovedSetting{"auto_download_video_group_chats",   "auto_download_video_group_chats",   take<bool, &AppSettingModel::setAutoDownloadVideoGroupChats>},
    MovedSetting{"auto_download_video_limit",         "auto_download_video_limit",         take<int,  &AppSettingModel::setAutoDownloadVideoLimit>},
    MovedSetting{"auto_download_file_private_chats",  "auto_download_file_private_chats",  take<bool, &AppSettingModel::setAutoDownloadFilePrivateChats>},
    MovedSetting{"auto_download_file_group_chats",    "auto_download_file_group_chats",    take<bool, &AppSettingModel::setAutoDownloadFileGroupChats>},
    MovedSetting{"auto_download_file_limit",          "auto_download_file_limit",          take<int,  &AppSettingModel::setAutoDownloadFileLimit>},
    // These two as well, odd as it is: upgrades have always mapped them so.
    MovedSetting{"tabs_view_mode_top",                "auto_download_file_limit",
        [](AppSettingModel *settings, const QVariant &value) {
            return take<int, &AppSettingModel::setAutoDownloadFileLimit>(settings, int(value.toBool()));
        }},
    MovedSetting{"left_tab_width",                    "auto_download_file_limit",          take<int,  &AppSettingModel::setAutoDownloadFileLimit>},
    // clang-format on
};

} // namespace

AccountSettingModel::AccountSettingModel(AccountBase *account, QObject *parent, Owner owner)
    : SettingModelBase(parent), m_values(std::make_unique<Values>(owner.rows)), m_account(account),
      m_owner(std::move(owner))
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

AccountSettingModel::~AccountSettingModel() = default;

void AccountSettingModel::loadLocalData(bool skip)
{
    if (skip)
        return;
    m_values->load([this](ValueCache &rows) {
        upgradeSetting(rows);
        upgradeFrequentContact(rows);
    });
    initChatFolderConfig();
    m_notification = jsonToMap(m_owner.sharedText(notificationName()));

#define CHANGED(name)                                                                              \
    announce<AccountSettingModel, &AccountSettingModel::name, &AccountSettingModel::name##Changed>
    static constexpr std::array order = {
        CHANGED(globalNotifications),  CHANGED(globalMessagePreview),
        CHANGED(downloadFolder),       CHANGED(alwaysShowNotification),
        CHANGED(showArchivedFolder),   CHANGED(notifyReply),
        CHANGED(notifyAite),           CHANGED(notifyAiteAll),
        CHANGED(muteNewGroup),         CHANGED(autoHideArchivedFolder),
        CHANGED(fullPreviewState),     CHANGED(lastLocation),
        CHANGED(chatFolderShowTabs),   CHANGED(chatFolderUnreadBadge),
        CHANGED(chatFolderIconOnly),   CHANGED(hexColorFormat),
        CHANGED(supportedMeetingType), CHANGED(voiceChangerType),
        CHANGED(callChangerType),      CHANGED(allowDoubleCopy),
        CHANGED(supportNSFW),          CHANGED(allowNSFW),
        CHANGED(syncMyFocusStatus),    CHANGED(tabsViewOnTop),
        CHANGED(leftTabWidth),         CHANGED(showInDiscussionOnly),
    };
#undef CHANGED
    for (const auto step : order)
        step(this);
}

void AccountSettingModel::clearData(bool)
{
    const QVariantList before = propertyValues();
    clear();
    announceChanges(before);
}

void AccountSettingModel::clear()
{
    m_values->clear();
    m_notification.clear();
    m_chatFolder.clear();
}

QVariantList AccountSettingModel::propertyValues() const
{
    QVariantList values;
    const QMetaObject &meta = staticMetaObject;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i)
        values.append(meta.property(i).read(this));
    return values;
}

/// Emits the signals of the properties that differ from `before`.
void AccountSettingModel::announceChanges(const QVariantList &before)
{
    const QMetaObject &meta = staticMetaObject;
    const QVariantList values = propertyValues();
    const QPointer<AccountSettingModel> guard(this);
    for (qsizetype i = 0; i < values.size() && guard; ++i) {
        if (values.at(i) == before.at(i))
            continue;
        const QVariant &value = values.at(i);
        const QMetaMethod changed = meta.property(meta.propertyOffset() + int(i)).notifySignal();
        if (changed.parameterCount() == 0)
            changed.invoke(this, Qt::DirectConnection);
        else
            changed.invoke(this, Qt::DirectConnection,
                           QGenericArgument(value.typeName(), value.constData()));
    }
}

bool AccountSettingModel::flush()
{
    return m_values->flush();
}

bool AccountSettingModel::flush(QDeadlineTimer deadline)
{
    return m_values->flush(deadline);
}

// Older versions' settings

void AccountSettingModel::upgradeSetting(const ValueCache &rows)
{
    AppSettingModel *settings = AppSettingModel::instance();
    // Marks the move as under way until the old rows are gone, so that the next start finishes a
    // move that was killed in between.
    const QString movedFrom = QStringLiteral("auto_download_moved_from");
    QStringList old;
    for (const MovedSetting &setting : movedSettings) {
        if (rows.find(QString::fromLatin1(setting.key)) != rows.end())
            old.append(QString::fromLatin1(setting.key));
    }
    if (!settings->containsAutoDownloadSetting()) {
        QVariantMap moved;
        for (const MovedSetting &setting : movedSettings) {
            const auto found = rows.find(QString::fromLatin1(setting.key));
            QVariant value;
            if (found != rows.end())
                value = setting.set(settings, found->second);
            if (!value.isValid() && &setting == movedSettings.begin())
                value = setting.set(settings, true);
            if (value.isValid())
                moved.insert(QString::fromLatin1(setting.target), value);
        }
        if (!old.isEmpty()) {
            settings->setValue(movedFrom, m_owner.id(), false);
            moved.insert(movedFrom, m_owner.id());
        }
        settings->saveToConfig(moved);
    }
    // Remove the old rows only once their values are stored machine-wide.
    if (settings->value(movedFrom, QVariant()) != m_owner.id() || !settings->flush())
        return;
    for (const QString &key : std::as_const(old))
        removeKey(key);
    if (m_values->flush())
        settings->removeKey(movedFrom);
}

void AccountSettingModel::upgradeFrequentContact(ValueCache &rows)
{
    const auto old = rows.find(QStringLiteral("frequent_contacts"));
    if (old == rows.end())
        return;
    QVariantMap contacts;
    const QVariantMap counts = jsonToMap(old->second.toByteArray());
    for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
        contacts.insert(it.key(),
                        QVariantMap{{QStringLiteral("beginMsgId"), 1},
                                    {QStringLiteral("lastMsgId"), it.value().toInt()}});
    }
    const QString key = QStringLiteral("frequent_contact_list");
    const QByteArray json = mapToJson(contacts);
    rows.insert_or_assign(key, json);
    // Save before the old row is removed, so that the next start repeats a step that a kill
    // interrupted.
    saveToCoreDb(key, json, true);
    removeKey(QStringLiteral("frequent_contacts"));
}

// Rows

bool AccountSettingModel::read(const QString &key, bool fallback) const
{
    return m_values->value(key, fallback);
}

int AccountSettingModel::read(const QString &key, int fallback) const
{
    return m_values->value(key, fallback);
}

qint64 AccountSettingModel::read(const QString &key, qint64 fallback) const
{
    return m_values->value(key, fallback);
}

double AccountSettingModel::read(const QString &key, double fallback) const
{
    return m_values->value(key, fallback);
}

QString AccountSettingModel::read(const QString &key, const QString &fallback) const
{
    return m_values->value(key, fallback);
}

QByteArray AccountSettingModel::read(const QString &key, const QByteArray &fallback) const
{
    return m_values->value(key, fallback);
}

const QVariant &AccountSettingModel::getValue(const QString &key,
                                              const QVariant &defaultValue) const
{
    return m_values->reference(key, defaultValue);
}

QVariant AccountSettingModel::value(const QString &key, const QVariant &defaultValue) const
{
    return m_values->value(key, defaultValue);
}

bool AccountSettingModel::setValue(const QString &key, const QVariant &value, bool needSave)
{
    if (isPlain(value))
        return m_values->change(key, value, needSave);
    // Comparing costs less than inspecting a value that may be large, or a script's.
    if (m_values->holds(key, value))
        return false;
    const std::optional<QVariant> kept = storable(key, value);
    return kept && m_values->change(key, *kept, needSave);
}

void AccountSettingModel::saveToCoreDb(QString key, QVariant value, bool needSave)
{
    if (needSave)
        m_values->saveStored(key, value);
}

void AccountSettingModel::removeKey(QString key)
{
    if (!key.isEmpty())
        m_values->removeStored(key);
}

QString AccountSettingModel::downloadFolder() const
{
    if (m_values->contains(downloadFolderKey()))
        return read(downloadFolderKey(), QString());
    const QCoreApplication *app = QCoreApplication::instance();
    return QStandardPaths::writableLocation(QStandardPaths::DownloadLocation) + Util::separator()
        + (app ? app->property("imName").toString() : QString());
}

void AccountSettingModel::setDownloadFolder(QString value, bool needSave)
{
    if (setValue(downloadFolderKey(), value, needSave))
        Q_EMIT downloadFolderChanged(value);
}

void AccountSettingModel::setOpenNotebook(bool isOpen)
{
    if (setValue(QStringLiteral("opennotebook_setting"), isOpen, false))
        Q_EMIT openNotebookChanged(isOpen);
}

void AccountSettingModel::setNotebookSetting(QVariantMap notebookSetting, bool needSave)
{
    const QString key = QStringLiteral("notebook_setting");
    if (makeStorable(key, &notebookSetting))
        setValue(key, mapToJson(notebookSetting), needSave);
}

bool AccountSettingModel::containsCustomThemeInfo() const
{
    return m_values->contains(QStringLiteral("chat_background_color"))
        || m_values->contains(QStringLiteral("chat_background_gradient_color"))
        || m_values->contains(QStringLiteral("dark_mode_chat_background_color"))
        || m_values->contains(QStringLiteral("chat_background_id"))
        || m_values->contains(QStringLiteral("chat_background_blur"))
        || m_values->contains(QStringLiteral("chat_background_gradient_rotation"))
        || m_values->contains(QStringLiteral("chat_shader_opacity"));
}

// Notifications

bool AccountSettingModel::readNotification(const QString &key, bool fallback) const
{
    const auto found = m_notification.constFind(key);
    return found == m_notification.cend() ? fallback : found->toBool();
}

bool AccountSettingModel::writeNotification(const QString &key, const QVariant &value,
                                            bool needSync)
{
    if (has(m_notification, key, value.toBool()))
        return false;
    m_notification.insert(key, value);
    if (needSync)
        syncNotification();
    return true;
}

void AccountSettingModel::syncNotification() const
{
    m_owner.saveSharedText(notificationName(), mapToJson(m_notification));
}

void AccountSettingModel::updateNotifyConfig(QVariantMap config)
{
    const auto take = [&](const QString &key, auto setter) {
        const auto found = config.constFind(key);
        if (found != config.cend())
            (this->*setter)(found->toBool(), false);
    };
    take(QStringLiteral("reply"), &AccountSettingModel::setNotifyReply);
    take(QStringLiteral("at"), &AccountSettingModel::setNotifyAite);
    take(QStringLiteral("atAll"), &AccountSettingModel::setNotifyAiteAll);
    take(QStringLiteral("muteNewGroup"), &AccountSettingModel::setMuteNewGroup);
    take(QStringLiteral("reaction"), &AccountSettingModel::setNotificationReaction);
    take(QStringLiteral("notifications"), &AccountSettingModel::setGlobalNotifications);
    take(QStringLiteral("messagePreview"), &AccountSettingModel::setGlobalMessagePreview);
    take(QStringLiteral("auto_hide_archived_folder"),
         &AccountSettingModel::setAutoHideArchivedFolder);
}

void AccountSettingModel::resetNotification()
{
    setGlobalNotifications(true, false);
    setGlobalMessagePreview(true, false);
    setAlwaysShowNotification(true, true);
    setNotifyReply(true, false);
    setNotifyAite(true, false);
    setNotifyAiteAll(true, true);
    setBounceDockIcon(false, true);
}

QVariantList AccountSettingModel::mutedGroups() const
{
    return m_notification.value(groupKey()).toMap().value(exceptionsKey()).toList();
}

void AccountSettingModel::setMutedGroups(const QVariantList &entries)
{
    QVariantMap group = m_notification.value(groupKey()).toMap();
    group.insert(exceptionsKey(), entries);
    m_notification.insert(groupKey(), group);
    syncNotification();
}

void AccountSettingModel::updateMutedGroupNotification(QString dialogId, bool reply, bool at,
                                                       bool atAll)
{
    QVariantList entries = mutedGroups();
    qsizetype index = indexOfDialog(entries, dialogId);
    if (index < 0) {
        index = entries.size();
        entries.append(QVariantMap());
    }
    QVariantMap entry = entries.at(index).toMap();
    if (has(entry, QStringLiteral("reply"), reply) && has(entry, QStringLiteral("atAll"), atAll)
        && has(entry, QStringLiteral("at"), at))
        return;
    entry.insert(dialogKey(), dialogId);
    entry.insert(QStringLiteral("reply"), reply);
    entry.insert(QStringLiteral("at"), at);
    entry.insert(QStringLiteral("atAll"), atAll);
    entries[index] = entry;
    setMutedGroups(entries);
}

void AccountSettingModel::deleteMutedGroupNotification(QString dialogId)
{
    QVariantList entries = mutedGroups();
    const qsizetype index = indexOfDialog(entries, dialogId);
    if (index < 0)
        return;
    entries.removeAt(index);
    setMutedGroups(entries);
}

// Chat folders

void AccountSettingModel::initChatFolderConfig()
{
    m_chatFolder = jsonToMap(m_owner.sharedText(chatFolderName()));
    const QVariantMap defaults{{QStringLiteral("show_tab"), true},
                               {QStringLiteral("unread_badge"), true},
                               {QStringLiteral("icon_only"), false}};
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it) {
        if (!m_chatFolder.contains(it.key()))
            m_chatFolder.insert(it.key(), it.value());
    }
}

QVariant AccountSettingModel::getChatFolderValue(const QString &key,
                                                 const QVariant &defaultValue) const
{
    return m_chatFolder.value(key, defaultValue);
}

bool AccountSettingModel::readChatFolder(const QString &key, bool fallback) const
{
    return getChatFolderValue(key, fallback).toBool();
}

bool AccountSettingModel::writeChatFolder(const QString &key, bool value, bool needSync)
{
    if (has(m_chatFolder, key, value))
        return false;
    m_chatFolder.insert(key, value);
    if (needSync)
        m_owner.saveSharedText(chatFolderName(), mapToJson(m_chatFolder));
    return true;
}

void AccountSettingModel::updateChatFolderConfig(QByteArray json)
{
    const QVariantMap config = jsonToMap(json);
    const auto valueOf = [&](const QString &key, bool fallback) {
        return config.value(key, fallback).toBool();
    };
    setChatFolderShowTabs(valueOf(QStringLiteral("show_tab"), true), false);
    setChatFolderUnreadBadge(valueOf(QStringLiteral("unread_badge"), true), false);
    setChatFolderIconOnly(valueOf(QStringLiteral("icon_only"), false), false);
}

// Tags

void AccountSettingModel::setTagInfo(QVariantList tags, bool needSave)
{
    if (makeStorable(tagKey(), &tags))
        setValue(tagKey(), listToJson(tags), needSave);
}

void AccountSettingModel::updateTagInfo(const QVariantList &tags)
{
    if (!m_values->contains(tagKey())) {
        setTagInfo(tags.first(std::min(maxTags, tags.size())), true);
        return;
    }
    QVariantList known = jsonToList(read(tagKey(), QByteArray()));
    for (const QVariant &tag : tags) {
        known.removeAll(tag);
        known.prepend(tag);
    }
    setTagInfo(known.first(std::min(maxTags, known.size())), true);
}

void AccountSettingModel::removeTag(QString tag)
{
    if (!m_values->contains(tagKey()))
        return;
    QVariantList known = jsonToList(read(tagKey(), QByteArray()));
    known.removeOne(QVariant(tag));
    setTagInfo(known, true);
}

QVariantList AccountSettingModel::queryTagInfo(QString tag) const
{
    QVariantList found = jsonToList(read(tagKey(), QByteArray()));
    found.removeIf([&](const QVariant &known) { return !known.toString().contains(tag); });
    return found;
}
