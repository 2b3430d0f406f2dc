#pragma once

#include "core/modelbase.h"
#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

class AccountBase;
template <typename Mutex>
class StoredValues;

/// One datum of DataInfoModel: its getter, which gives T() where nothing is stored, and its setter.
#define MODELBASE_DATUM(T, getter, setter, key)                                                    \
public:                                                                                            \
    T getter() const                                                                               \
    {                                                                                              \
        return getDataInfo(QStringLiteral(key), T());                                              \
    }                                                                                              \
    void setter(const T &value)                                                                    \
    {                                                                                              \
        saveDataInfo(QStringLiteral(key), value);                                                  \
    }

/// Whether a datum was ever saved.
#define MODELBASE_DATUM_PRESENT(name, key)                                                         \
public:                                                                                            \
    bool name() const                                                                              \
    {                                                                                              \
        return containstDataInfo(QStringLiteral(key));                                             \
    }

/// How far an account is in step with the server: offsets up to which each list has been fetched
/// (as the server counts them), small records in the writer's own form, and the ranges that are
/// still missing. Made and owned by the account (AccountBase::dataInfoModel()); it has no signals.
/// Every datum is held in memory and written through to the account's buffered configuration
/// (storage::UserStorageProvider::bufferConfigStorage()).
///
/// The keys are those of the stored format, odd spellings included, and must not be corrected.
///
/// Every reader sees a value as soon as its setter returns. On the main thread the save thread
/// writes it later; on another thread the setter writes it before it returns. A written value
/// survives a kill; a power cut may undo the last second unless flush() was called. Changes of one
/// key reach the store in the order in which they reach memory. Failures of the store are logged,
/// and the write is repeated with the next change. A change belongs to the store that is open when
/// it is made; while none is open for the account's id, it stays in memory until the next load.
///
/// Thread: any, except loadLocalData() and flush(), which belong to the account's thread.
class MODELBASE_EXPORT DataInfoModel : public QObject, public ModelBase
{
    Q_OBJECT
    MODELBASE_QML_TYPE

    // clang-format off
    //        type        getter                      setter                          key
    MODELBASE_DATUM(QByteArray, archiveDialogs,             saveArchiveDialogs,             "archived_dialogs")
    MODELBASE_DATUM(QByteArray, archiveNotebooks,           saveArchiveNotebooks,           "archived_notebooks")
    MODELBASE_DATUM(qint64,     atAllPermitsOffset,         saveAtAllPermitsOffset,         "at_all_permits_offset")
    MODELBASE_DATUM(qint64,     cloudDriveCapacity,         saveCloudDriveCapacity,         "clouddrive_capacity") // bytes
    MODELBASE_DATUM(bool,       cloudDriveEnablePassword,   saveCloudDriveEnablePassword,   "clouddrive_enable_password")
    MODELBASE_DATUM(QByteArray, cloudDriveInitParameters,   saveCloudDriveInitParameters,   "clouddrive_init_parameters")
    MODELBASE_DATUM(qint64,     cloudDriveOffset,           saveCloudDriveOffset,           "clouddrive_offset")
    MODELBASE_DATUM(QByteArray, cloudDrivePrefetchIds,      saveCloudDrivePrefetchIds,      "clouddrive_prefetch_ids")
    MODELBASE_DATUM(qint64,     cloudDriveUseCapacity,      saveCloudDriveUseCapacity,      "clouddrive_use_capacity") // bytes
    MODELBASE_DATUM(qint64,     contactRequestOffset,       saveContactRequestOffset,       "contact_request_offset")
    MODELBASE_DATUM(qint64,     contactsOffset,             saveContactsOffset,             "contacts_offset")
    MODELBASE_DATUM(QByteArray, dialogKeepTime,             saveDialogKeepTime,             "dialog_keep_time")
    MODELBASE_DATUM(qint64,     dialogOffset,               saveDialogOffset,               "dialog_offset")
    MODELBASE_DATUM(QByteArray, dialogOrder,                saveDialogOrder,                "dialog_order")
    MODELBASE_DATUM(qint64,     dialogTagsOffset,           saveDialogTagsOffset,           "dialog_tags_offset")
    MODELBASE_DATUM(qint64,     discussionOffset,           saveDiscussionOffset,           "discussion_offset")
    MODELBASE_DATUM(QByteArray, emojiRecent,                saveEmojiRecent,                "emoji_recent")
    MODELBASE_DATUM(QByteArray, fatures,                    saveFatures,                    "features")
    MODELBASE_DATUM(qint64,     groupPengingMemberOffset,   saveGroupPendingMemberOffset,   "groups_pengingmembers_offset")
    MODELBASE_DATUM(qint64,     groupsOffset,               saveGroupsOffset,               "groups_offset")
    MODELBASE_DATUM(qint64,     myGroupPermissionsOffset,   saveMyGroupPermissionsOffset,   "mygroup_permissions_offset")
    MODELBASE_DATUM(qint64,     notebookOffset,             saveNotebookOffset,             "notebook_offset")
    MODELBASE_DATUM(bool,       notebookOpened,             saveNotebookOpened,             "notebook_opened")
    MODELBASE_DATUM(QByteArray, notebookPrefetchIds,        saveNotebookPrefetchIds,        "notebook_prefetch_ids")
    MODELBASE_DATUM(QByteArray, notebookRecentNotes,        saveNotebookRecentNotes,        "notebook_recent_notes")
    MODELBASE_DATUM(QByteArray, notebookSearchRecords,      saveNotebookSearchRecords,      "notebook_search_records")
    MODELBASE_DATUM(qint64,     pollOffset,                 savePollOffset,                 "poll_offset")
    MODELBASE_DATUM(qint64,     quickReplyOffset,           saveQuickReplyOffset,           "quickreply_offset")
    MODELBASE_DATUM(QByteArray, reactionEmojiRecent,        saveReactionEmojiRecent,        "reaction_emoji_recent")
    MODELBASE_DATUM(qint64,     reactionOffset,             saveReactionOffset,             "reaction_offset")
    MODELBASE_DATUM(qint64,     receiptOffset,              saveReceiptOffset,              "receipt_offset")
    MODELBASE_DATUM(qint64,     recentCallOffset,           saveRecentCallOffset,           "recent_call_offset")
    MODELBASE_DATUM(qint64,     savedDialogsOffset,         saveSavedDialogsOffset,         "saved_dialog_offset")
    MODELBASE_DATUM(qint64,     scheduledOffset,            saveScheduledOffset,            "scheduled_offset")
    MODELBASE_DATUM(qint64,     sharedReferenceOffset,      saveSharedReferenceOffset,      "shared_preference_offset")
    MODELBASE_DATUM(QByteArray, stickerRecent,              saveStickerRecent,              "sticker_recent")
    MODELBASE_DATUM(qint64,     stickerRecentOffset,        saveStickerRecentOffset,        "sticker_recent_offset")
    MODELBASE_DATUM(QByteArray, tagsList,                   saveTagsList,                   "tags_list")
    MODELBASE_DATUM(QByteArray, usedCustomEmojiPack,        saveUsedCustomEmojiPack,        "used_custom_emoji_pack")
    MODELBASE_DATUM(QByteArray, usedStickerPack,            saveUsedStickerPack,            "used_sticker_pack")
    MODELBASE_DATUM(qint64,     userCustomEmojiLastUpdated, saveUserCustomEmojiLastUpdated, "custom_emoji_last_updated")
    MODELBASE_DATUM(qint64,     userStickerLastUpdated,     saveUserStickerLastUpdated,     "user_sticker_last_updated")
    MODELBASE_DATUM(qint64,     wallpaperOffset,            saveWallpaperOffset,            "wallpaper_offset")

    MODELBASE_DATUM_PRESENT(containArchiveDialogs,        "archived_dialogs")
    MODELBASE_DATUM_PRESENT(containArchiveNotebooks,      "archived_notebooks")
    MODELBASE_DATUM_PRESENT(containNotebookRecentNotes,   "notebook_recent_notes")
    MODELBASE_DATUM_PRESENT(containNotebookSearchRecords, "notebook_search_records")
    // clang-format on

public:
    /// @param account the owner, whose store is used
    explicit DataInfoModel(AccountBase *account);
    /// Writes pending changes.
    ~DataInfoModel() override;

    /// Ids of the messages that the server could not return; one empty text if none were saved.
    QStringList unretrievableIds() const;
    void saveUnretrievableIds(const QStringList &ids);

    /// The part of the list `key` that is still missing here, as saved; empty if nothing was saved.
    QByteArray missRange(const QString &key) const;
    /// Replaces the whole previous range.
    void saveMissRange(const QString &key, const QByteArray &range);
    void removeMissRange(const QString &key);

    /// Replaces the values in memory by the stored ones; does nothing when `skip` is true.
    void loadLocalData(bool skip) override;
    /// Empties the memory; stored values stay. The argument is ignored.
    void clearData(bool clear) override;
    /// As AppSettingModel::flush().
    bool flush();
    /// The same on a separate thread, until `deadline` at most, whatever the disk does.
    bool flush(QDeadlineTimer deadline);

private:
    friend class AccountBase; // which opens and closes the store

    bool getDataInfo(const QString &key, bool fallback) const;
    qint64 getDataInfo(const QString &key, qint64 fallback) const;
    QByteArray getDataInfo(const QString &key, const QByteArray &fallback) const;
    void saveDataInfo(const QString &key, const QVariant &value);
    bool containstDataInfo(const QString &key) const;

    using Values = StoredValues<QMutex>;
    const std::unique_ptr<Values> m_values;
};
