#include "account/datainfomodel.h"
#include "account/threadmanager.h"
#include "storage/configstorage.h"
#include "storage/userstorageprovider.h"
#include "support/fakeaccount.h"

#include <QDir>
#include <QJSEngine>
#include <QSemaphore>
#include <QTest>

#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

struct Datum {
    const char *key;
    QVariant (*get)(const DataInfoModel &model);
    void (*set)(DataInfoModel &model, const QVariant &value);
    QVariant fallback;
};

template <typename T, T (DataInfoModel::*getter)() const, void (DataInfoModel::*setter)(const T &)>
constexpr Datum datum(const char *key)
{
    return {key, [](const DataInfoModel &model) { return QVariant((model.*getter)()); },
            [](DataInfoModel &model, const QVariant &value) { (model.*setter)(value.value<T>()); },
            QVariant(T())};
}

// Stored data in the field depends on each word of this.
const std::vector<Datum> &data()
{
#define OFFSET(key, getter, setter)                                                                \
    datum<qint64, &DataInfoModel::getter, &DataInfoModel::setter>(key)
#define FLAG(key, getter, setter) datum<bool, &DataInfoModel::getter, &DataInfoModel::setter>(key)
#define BYTES(key, getter, setter)                                                                 \
    datum<QByteArray, &DataInfoModel::getter, &DataInfoModel::setter>(key)
    static const std::vector<Datum> all = {
        BYTES("archived_dialogs", archiveDialogs, saveArchiveDialogs),
        BYTES("archived_notebooks", archiveNotebooks, saveArchiveNotebooks),
        OFFSET("at_all_permits_offset", atAllPermitsOffset, saveAtAllPermitsOffset),
        OFFSET("clouddrive_capacity", cloudDriveCapacity, saveCloudDriveCapacity),
        FLAG("clouddrive_enable_password", cloudDriveEnablePassword, saveCloudDriveEnablePassword),
        BYTES("clouddrive_init_parameters", cloudDriveInitParameters, saveCloudDriveInitParameters),
        OFFSET("clouddrive_offset", cloudDriveOffset, saveCloudDriveOffset),
        BYTES("clouddrive_prefetch_ids", cloudDrivePrefetchIds, saveCloudDrivePrefetchIds),
        OFFSET("clouddrive_use_capacity", cloudDriveUseCapacity, saveCloudDriveUseCapacity),
        OFFSET("contact_request_offset", contactRequestOffset, saveContactRequestOffset),
        OFFSET("contacts_offset", contactsOffset, saveContactsOffset),
        BYTES("dialog_keep_time", dialogKeepTime, saveDialogKeepTime),
        OFFSET("dialog_offset", dialogOffset, saveDialogOffset),
        BYTES("dialog_order", dialogOrder, saveDialogOrder),
        OFFSET("dialog_tags_offset", dialogTagsOffset, saveDialogTagsOffset),
        OFFSET("discussion_offset", discussionOffset, saveDiscussionOffset),
        BYTES("emoji_recent", emojiRecent, saveEmojiRecent),
        BYTES("features", fatures, saveFatures),
        OFFSET("groups_pengingmembers_offset", groupPengingMemberOffset,
               saveGroupPendingMemberOffset),
        OFFSET("groups_offset", groupsOffset, saveGroupsOffset),
        OFFSET("mygroup_permissions_offset", myGroupPermissionsOffset,
               saveMyGroupPermissionsOffset),
        OFFSET("notebook_offset", notebookOffset, saveNotebookOffset),
        FLAG("notebook_opened", notebookOpened, saveNotebookOpened),
        BYTES("notebook_prefetch_ids", notebookPrefetchIds, saveNotebookPrefetchIds),
        BYTES("notebook_recent_notes", notebookRecentNotes, saveNotebookRecentNotes),
        BYTES("notebook_search_records", notebookSearchRecords, saveNotebookSearchRecords),
        OFFSET("poll_offset", pollOffset, savePollOffset),
        OFFSET("quickreply_offset", quickReplyOffset, saveQuickReplyOffset),
        BYTES("reaction_emoji_recent", reactionEmojiRecent, saveReactionEmojiRecent),
        OFFSET("reaction_offset", reactionOffset, saveReactionOffset),
        OFFSET("receipt_offset", receiptOffset, saveReceiptOffset),
        OFFSET("recent_call_offset", recentCallOffset, saveRecentCallOffset),
        OFFSET("saved_dialog_offset", savedDialogsOffset, saveSavedDialogsOffset),
        OFFSET("scheduled_offset", scheduledOffset, saveScheduledOffset),
        OFFSET("shared_preference_offset", sharedReferenceOffset, saveSharedReferenceOffset),
        BYTES("sticker_recent", stickerRecent, saveStickerRecent),
        OFFSET("sticker_recent_offset", stickerRecentOffset, saveStickerRecentOffset),
        BYTES("tags_list", tagsList, saveTagsList),
        BYTES("used_custom_emoji_pack", usedCustomEmojiPack, saveUsedCustomEmojiPack),
        BYTES("used_sticker_pack", usedStickerPack, saveUsedStickerPack),
        OFFSET("custom_emoji_last_updated", userCustomEmojiLastUpdated,
               saveUserCustomEmojiLastUpdated),
        OFFSET("user_sticker_last_updated", userStickerLastUpdated, saveUserStickerLastUpdated),
        OFFSET("wallpaper_offset", wallpaperOffset, saveWallpaperOffset),
    };
#undef OFFSET
#undef FLAG
#undef BYTES
    return all;
}

QVariant sample(const Datum &datum, int number)
{
    switch (datum.fallback.typeId()) {
    case QMetaType::Bool:
        return true;
    case QMetaType::LongLong:
        return (qint64(1) << 40) + number;
    default:
        return QByteArray("\0\xff,", 3) + QByteArray::number(number);
    }
}

constexpr int accountId = 7;

/// What another process would find in the store now.
QVariant stored(const FakeAccount &account, const QString &key)
{
    storage::UserStorageProvider provider;
    provider.open(account.userStatusDataPath(), false);
    return provider.bufferConfigStorage()->value(key);
}

/// Keeps the save thread from its work.
class Hold
{
public:
    Hold()
    {
        ThreadManager::invoke(
            [this] {
                m_reached.release();
                m_released.acquire();
            },
            true);
        m_reached.acquire();
    }
    ~Hold() { m_released.release(); }
    Q_DISABLE_COPY_MOVE(Hold)

private:
    QSemaphore m_reached;
    QSemaphore m_released;
};

} // namespace

class TestDataInfoModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        FakeAccount account;
        for (const qint64 id : {accountId, accountId + 1}) {
            account.setAccountId(id);
            QDir(account.userStatusDataPath()).removeRecursively();
        }
        ThreadManager::getInstance()->init();
        open();
    }
    void cleanup()
    {
        ThreadManager::getInstance()->quitAll();
        m_account.reset();
    }

    void everyDatum()
    {
        for (const Datum &datum : data()) {
            QCOMPARE(datum.get(model()), datum.fallback);
            QVERIFY(!stored(*m_account, QLatin1StringView(datum.key)).isValid());
        }
        // All of them at once: two that shared a key would be found out.
        for (int i = 0; i < int(data().size()); ++i)
            data()[i].set(model(), sample(data()[i], i));
        for (int start = 0; start < 2; ++start) {
            for (int i = 0; i < int(data().size()); ++i)
                QCOMPARE(data()[i].get(model()), sample(data()[i], i));
            open();
        }
        for (const Datum &datum : data()) {
            const QVariant row = stored(*m_account, QLatin1StringView(datum.key));
            QVERIFY2(row.typeId() == datum.fallback.typeId(), datum.key);
        }
        const QMetaObject *meta = model().metaObject();
        QCOMPARE(meta->methodCount(), meta->methodOffset());
        QCOMPARE(meta->propertyCount(), meta->propertyOffset());
        QCOMPARE(QJSEngine::objectOwnership(&model()), QJSEngine::CppOwnership);
    }

    void presence()
    {
        const auto present = [this] {
            return QList<bool>{model().containArchiveDialogs(), model().containArchiveNotebooks(),
                               model().containNotebookRecentNotes(),
                               model().containNotebookSearchRecords()};
        };
        QList<bool> expected(4, false);
        model().archiveDialogs();
        QCOMPARE(present(), expected);
        int saved = 0;
        for (const auto save :
             {&DataInfoModel::saveArchiveDialogs, &DataInfoModel::saveArchiveNotebooks,
              &DataInfoModel::saveNotebookRecentNotes, &DataInfoModel::saveNotebookSearchRecords}) {
            (model().*save)({});
            open();
            expected[saved++] = true;
            QCOMPARE(present(), expected);
        }
    }

    void unretrievableIds()
    {
        QCOMPARE(model().unretrievableIds(), QStringList{u""_s});
        // Empty parts stay, and a separator inside an id parts it.
        for (const QStringList &saved :
             {QStringList{}, {u"2"_s, u"1"_s, u"2"_s}, {u""_s, u"1"_s, u""_s}, {u"1,2"_s}}) {
            model().saveUnretrievableIds(saved);
            const QString joined = saved.join(u',');
            QCOMPARE(model().unretrievableIds(), joined.split(u','));
            open();
            QCOMPARE(model().unretrievableIds(), joined.split(u','));
            QCOMPARE(stored(*m_account, u"unretrievable_ids"_s), joined);
        }
    }

    void savedRemovedClearedAndLoaded()
    {
        const QString key = u"C-3-5/miss"_s;
        const QByteArray range("\0\1\xff", 3);
        QCOMPARE(model().missRange(key), QByteArray());
        model().saveMissRange(key, "before");
        model().saveMissRange(key, range);
        open();
        QCOMPARE(model().missRange(key), range);
        for (const bool skip : {true, false}) {
            model().clearData(skip);
            QCOMPARE(model().missRange(key), QByteArray());
            // What the memory does not know is left alone in the store.
            model().removeMissRange(key);
            model().loadLocalData(skip);
            QCOMPARE(model().missRange(key), skip ? QByteArray() : range);
        }
        // A load that is skipped leaves what is in memory, another takes what is stored.
        QVERIFY(m_account->storage()->bufferConfigStorage()->save({key, u"newer"_s}));
        model().loadLocalData(true);
        QCOMPARE(model().missRange(key), range);
        model().loadLocalData(false);
        QCOMPARE(model().missRange(key), QByteArray("newer"));
        model().removeMissRange(key);
        QCOMPARE(model().missRange(key), QByteArray());
        open();
        QCOMPARE(model().missRange(key), QByteArray());
        QVERIFY(!stored(*m_account, key).isValid());
    }

    void storeIsWrittenByTheSaveThreadForTheMainThread()
    {
        const QString key = u"k"_s;
        {
            const Hold hold;
            model().saveMissRange(key, "main");
            QCOMPARE(model().missRange(key), QByteArray("main"));
            QVERIFY(!stored(*m_account, key).isValid());
            // Another thread does not wait for the save thread; what came before goes with it.
            std::thread([&] { model().saveDialogOffset(5); }).join();
            QCOMPARE(stored(*m_account, key), QByteArray("main"));
            QCOMPARE(stored(*m_account, u"dialog_offset"_s), 5);
            // And of one key the last value is the one that stays.
            model().saveMissRange(key, "older");
            std::thread([&] { model().saveMissRange(key, "newer"); }).join();
            QCOMPARE(stored(*m_account, key), QByteArray("newer"));
            model().saveMissRange(u"gone"_s, "x");
            std::thread([&] { model().removeMissRange(u"gone"_s); }).join();
        }
        ThreadManager::getInstance()->quitAll();
        QCOMPARE(stored(*m_account, key), QByteArray("newer"));
        QVERIFY(!stored(*m_account, u"gone"_s).isValid());
        // Without a save thread nothing waits.
        model().saveMissRange(key, "last");
        QCOMPARE(stored(*m_account, key), QByteArray("last"));
    }

private:
    /// The account as the next start of the program has it.
    void open()
    {
        m_account.reset();
        m_account = std::make_unique<FakeAccount>();
        m_account->setAccountId(accountId);
        QVERIFY(m_account->openStorage(true));
    }
    DataInfoModel &model() { return *m_account->dataInfoModel(); }

    std::unique_ptr<FakeAccount> m_account;
};

QTEST_GUILESS_MAIN(TestDataInfoModel)
#include "tst_datainfomodel.moc"
