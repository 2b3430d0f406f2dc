#include "account/threadmanager.h"
#include "dialog/datainfomodel.h"
#include "storage/configstorage.h"
#include "storage/userstorageprovider.h"
#include "support/fakeaccount.h"

#include <QDir>
#include <QJSEngine>
#include <QSemaphore>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

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

/// Makes the store refuse what is saved, as a full disk would.
class Refusal
{
public:
    explicit Refusal(const FakeAccount &account)
        : m_database(account.storage()->filePath().toStdString(), SQLite::OPEN_READWRITE, 2000)
    {
        m_database.exec("CREATE TRIGGER refusal BEFORE INSERT ON buffer_config "
                        "BEGIN SELECT RAISE(ABORT, 'refused'); END");
    }
    ~Refusal() { m_database.exec("DROP TRIGGER refusal"); }
    Q_DISABLE_COPY_MOVE(Refusal)

private:
    SQLite::Database m_database;
};

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
        const auto expected = [](int count) {
            return QList<bool>(count, true) + QList<bool>(4 - count, false);
        };
        model().archiveDialogs();
        QCOMPARE(present(), expected(0));
        model().saveArchiveDialogs({});
        QCOMPARE(present(), expected(1));
        model().saveArchiveNotebooks({});
        QCOMPARE(present(), expected(2));
        model().saveNotebookRecentNotes({});
        QCOMPARE(present(), expected(3));
        model().saveNotebookSearchRecords({});
        open();
        QCOMPARE(present(), expected(4));
        model().clearData(false);
        QCOMPARE(present(), expected(0));
    }

    void otherTypesInTheStoreAreConverted()
    {
        storage::ConfigStorage &rows = *m_account->storage()->bufferConfigStorage();
        QVERIFY(rows.apply({false,
                            {},
                            {{u"dialog_offset"_s, u"12345678901"_s},
                             {u"groups_offset"_s, 7},
                             {u"poll_offset"_s, QVariantMap()},
                             {u"notebook_opened"_s, u"true"_s},
                             {u"dialog_keep_time"_s, u"Grüße"_s},
                             {u"unretrievable_ids"_s, QByteArray("1,2")}}}));
        model().loadLocalData(false);
        QCOMPARE(model().dialogOffset(), 12345678901);
        QCOMPARE(model().groupsOffset(), 7);
        QCOMPARE(model().pollOffset(), 0);
        QCOMPARE(model().notebookOpened(), true);
        QCOMPARE(model().dialogKeepTime(), QByteArray("Grüße"));
        QCOMPARE(model().unretrievableIds(), (QStringList{u"1"_s, u"2"_s}));
    }

    void unretrievableIds_data()
    {
        QTest::addColumn<QStringList>("saved");
        QTest::addColumn<QStringList>("read");
        const auto row = [](const char *name, const QStringList &saved, const QStringList &read) {
            QTest::newRow(name) << saved << read;
        };
        row("none", {}, {u""_s});
        row("one", {u"G-1"_s}, {u"G-1"_s});
        row("several", {u"2"_s, u"1"_s, u"2"_s}, {u"2"_s, u"1"_s, u"2"_s});
        row("empty parts stay", {u""_s, u"1"_s, u""_s}, {u""_s, u"1"_s, u""_s});
        row("a separator inside", {u"1,2"_s}, {u"1"_s, u"2"_s});
    }
    void unretrievableIds()
    {
        QFETCH(const QStringList, saved);
        QFETCH(const QStringList, read);
        QCOMPARE(model().unretrievableIds(), QStringList{u""_s});
        model().saveUnretrievableIds(saved);
        QCOMPARE(model().unretrievableIds(), read);
        open();
        QCOMPARE(model().unretrievableIds(), read);
        QCOMPARE(stored(*m_account, u"unretrievable_ids"_s), saved.join(u','));
    }

    void missRanges()
    {
        const QString key = u"C-3-5/miss"_s;
        const QByteArray range("\0\1\xff", 3);
        QCOMPARE(model().missRange(key), QByteArray());
        model().saveMissRange(key, "before");
        model().saveMissRange(key, range);
        open();
        QCOMPARE(model().missRange(key), range);
        model().removeMissRange(key);
        QCOMPARE(model().missRange(key), QByteArray());
        open();
        QCOMPARE(model().missRange(key), QByteArray());
        QVERIFY(!stored(*m_account, key).isValid());
        model().saveMissRange(key, range);
        QVERIFY(model().flush());
        // What the memory does not know is left alone in the store.
        model().clearData(true);
        model().removeMissRange(key);
        model().loadLocalData(false);
        QCOMPARE(model().missRange(key), range);
    }

    void clearedAndLoaded()
    {
        model().saveDialogOffset(5);
        model().clearData(false);
        QCOMPARE(model().dialogOffset(), 0);
        model().loadLocalData(true);
        QCOMPARE(model().dialogOffset(), 0);
        model().loadLocalData(false);
        QCOMPARE(model().dialogOffset(), 5);
        QVERIFY(m_account->storage()->bufferConfigStorage()->save({u"dialog_offset"_s, 6}));
        model().loadLocalData(true);
        QCOMPARE(model().dialogOffset(), 5);
        model().loadLocalData(false);
        QCOMPARE(model().dialogOffset(), 6);
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

    void nothingIsLostAtQuit()
    {
        constexpr int count = 5000;
        for (int i = 0; i < count; ++i)
            model().saveMissRange(u"range/%1"_s.arg(i), QByteArray::number(i));
        ThreadManager::getInstance()->quitAll();
        storage::UserStorageProvider provider;
        QVERIFY(provider.open(m_account->userStatusDataPath(), false));
        QCOMPARE(provider.bufferConfigStorage()->allInfos().size(), count);
    }

    void refusedChangesAreTriedAgain()
    {
        model().saveDialogOffset(1);
        QVERIFY(model().flush());
        {
            const Refusal refusal(*m_account);
            model().saveDialogOffset(2);
            QVERIFY(!model().flush());
            QCOMPARE(stored(*m_account, u"dialog_offset"_s), 1);
            // Loading does not bring the older value back.
            model().loadLocalData(false);
            QCOMPARE(model().dialogOffset(), 2);
        }
        model().saveGroupsOffset(3);
        QVERIFY(model().flush());
        QCOMPARE(stored(*m_account, u"dialog_offset"_s), 2);
        QCOMPARE(stored(*m_account, u"groups_offset"_s), 3);
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
