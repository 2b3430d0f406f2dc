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
    QString key;
    QVariant (*get)(const DataInfoModel &model);
    void (*set)(DataInfoModel &model, const QVariant &value);
};

template <auto getter, auto setter>
Datum datum(const char *key)
{
    using T = std::invoke_result_t<decltype(getter), const DataInfoModel &>;
    return {QString::fromLatin1(key),
            [](const DataInfoModel &model) { return QVariant((model.*getter)()); },
            [](DataInfoModel &model, const QVariant &value) { (model.*setter)(value.value<T>()); }};
}

// Stored data in the field depends on each word of this.
const std::vector<Datum> &data()
{
#define DATUM(key, getter, Name) datum<&DataInfoModel::getter, &DataInfoModel::save##Name>(key)
    static const std::vector<Datum> all = {
        DATUM("archived_dialogs", archiveDialogs, ArchiveDialogs),
        DATUM("archived_notebooks", archiveNotebooks, ArchiveNotebooks),
        DATUM("at_all_permits_offset", atAllPermitsOffset, AtAllPermitsOffset),
        DATUM("clouddrive_capacity", cloudDriveCapacity, CloudDriveCapacity),
        DATUM("clouddrive_enable_password", cloudDriveEnablePassword, CloudDriveEnablePassword),
        DATUM("clouddrive_init_parameters", cloudDriveInitParameters, CloudDriveInitParameters),
        DATUM("clouddrive_offset", cloudDriveOffset, CloudDriveOffset),
        DATUM("clouddrive_prefetch_ids", cloudDrivePrefetchIds, CloudDrivePrefetchIds),
        DATUM("clouddrive_use_capacity", cloudDriveUseCapacity, CloudDriveUseCapacity),
        DATUM("contact_request_offset", contactRequestOffset, ContactRequestOffset),
        DATUM("contacts_offset", contactsOffset, ContactsOffset),
        DATUM("dialog_keep_time", dialogKeepTime, DialogKeepTime),
        DATUM("dialog_offset", dialogOffset, DialogOffset),
        DATUM("dialog_order", dialogOrder, DialogOrder),
        DATUM("dialog_tags_offset", dialogTagsOffset, DialogTagsOffset),
        DATUM("discussion_offset", discussionOffset, DiscussionOffset),
        DATUM("emoji_recent", emojiRecent, EmojiRecent),
        DATUM("features", fatures, Fatures),
        DATUM("groups_pengingmembers_offset", groupPengingMemberOffset, GroupPendingMemberOffset),
        DATUM("groups_offset", groupsOffset, GroupsOffset),
        DATUM("mygroup_permissions_offset", myGroupPermissionsOffset, MyGroupPermissionsOffset),
        DATUM("notebook_offset", notebookOffset, NotebookOffset),
        DATUM("notebook_opened", notebookOpened, NotebookOpened),
        DATUM("notebook_prefetch_ids", notebookPrefetchIds, NotebookPrefetchIds),
        DATUM("notebook_recent_notes", notebookRecentNotes, NotebookRecentNotes),
        DATUM("notebook_search_records", notebookSearchRecords, NotebookSearchRecords),
        DATUM("poll_offset", pollOffset, PollOffset),
        DATUM("quickreply_offset", quickReplyOffset, QuickReplyOffset),
        DATUM("reaction_emoji_recent", reactionEmojiRecent, ReactionEmojiRecent),
        DATUM("reaction_offset", reactionOffset, ReactionOffset),
        DATUM("receipt_offset", receiptOffset, ReceiptOffset),
        DATUM("recent_call_offset", recentCallOffset, RecentCallOffset),
        DATUM("saved_dialog_offset", savedDialogsOffset, SavedDialogsOffset),
        DATUM("scheduled_offset", scheduledOffset, ScheduledOffset),
        DATUM("shared_preference_offset", sharedReferenceOffset, SharedReferenceOffset),
        DATUM("sticker_recent", stickerRecent, StickerRecent),
        DATUM("sticker_recent_offset", stickerRecentOffset, StickerRecentOffset),
        DATUM("tags_list", tagsList, TagsList),
        DATUM("used_custom_emoji_pack", usedCustomEmojiPack, UsedCustomEmojiPack),
        DATUM("used_sticker_pack", usedStickerPack, UsedStickerPack),
        DATUM("custom_emoji_last_updated", userCustomEmojiLastUpdated, UserCustomEmojiLastUpdated),
        DATUM("user_sticker_last_updated", userStickerLastUpdated, UserStickerLastUpdated),
        DATUM("wallpaper_offset", wallpaperOffset, WallpaperOffset),
    };
#undef DATUM
    return all;
}

/// Another one for each datum.
QVariant sample(const Datum &datum, const DataInfoModel &model)
{
    const qint64 number = &datum - data().data();
    switch (datum.get(model).typeId()) {
    case QMetaType::Bool:
        return true;
    case QMetaType::LongLong:
        return (qint64(1) << 40) + number;
    default:
        return QByteArray("\0\xff,", 3) + QByteArray::number(number);
    }
}

QList<bool> present(const DataInfoModel &model)
{
    return {model.containArchiveDialogs(), model.containArchiveNotebooks(),
            model.containNotebookRecentNotes(), model.containNotebookSearchRecords()};
}

} // namespace

class TestDataInfoModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        ThreadManager::getInstance()->init();
        open();
    }
    void cleanup()
    {
        ThreadManager::getInstance()->quitAll();
        const QString path = m_account->userStatusDataPath();
        m_account.reset();
        QDir(path).removeRecursively();
    }

    void everyDatum()
    {
        QList<QVariant> samples;
        QList<bool> expected(4, false);
        for (const Datum &datum : data()) {
            const QVariant fallback = datum.get(model());
            QCOMPARE(fallback, QVariant(fallback.metaType())); // and none is saved by being read
            samples.append(sample(datum, model()));
        }
        QCOMPARE(present(model()), expected);
        int saved = 0;
        for (const auto save :
             {&DataInfoModel::saveArchiveDialogs, &DataInfoModel::saveArchiveNotebooks,
              &DataInfoModel::saveNotebookRecentNotes, &DataInfoModel::saveNotebookSearchRecords}) {
            (model().*save)({});
            open();
            expected[saved++] = true;
            QCOMPARE(present(model()), expected);
        }
        // All of them at once: two that shared a key would be found out.
        for (const Datum &datum : data())
            datum.set(model(), samples[&datum - data().data()]);
        for (int start = 0; start < 2; ++start) {
            for (const Datum &datum : data())
                QCOMPARE(datum.get(model()), samples[&datum - data().data()]);
            open();
        }
        for (const Datum &datum : data())
            QCOMPARE(stored(datum.key), samples[&datum - data().data()]);
        const QMetaObject *meta = model().metaObject();
        QCOMPARE(meta->methodCount(), meta->methodOffset());
        QCOMPARE(meta->propertyCount(), meta->propertyOffset());
        QCOMPARE(QJSEngine::objectOwnership(&model()), QJSEngine::CppOwnership);
    }

    void unretrievableIds()
    {
        QCOMPARE(model().unretrievableIds(), QStringList{u""_s});
        // Empty parts stay, and a separator inside an id parts it.
        for (const QString &joined : {u""_s, u"2,1,2"_s, u",1,"_s}) {
            model().saveUnretrievableIds({joined});
            QCOMPARE(model().unretrievableIds(), joined.split(u','));
            model().saveUnretrievableIds(joined.split(u','));
            open();
            QCOMPARE(model().unretrievableIds(), joined.split(u','));
            QCOMPARE(stored(u"unretrievable_ids"_s), joined);
        }
    }

    void memoryAndStore()
    {
        model().saveMissRange(u"k"_s, "stored");
        open();
        for (const bool skip : {true, false}) {
            model().clearData(skip);
            QCOMPARE(model().missRange(u"k"_s), QByteArray());
            // What the memory does not know is left alone in the store.
            model().removeMissRange(u"k"_s);
            model().loadLocalData(skip);
            QCOMPARE(model().missRange(u"k"_s), skip ? QByteArray() : QByteArray("stored"));
        }
        m_account->storage()->bufferConfigStorage()->save({u"k"_s, u"newer"_s});
        model().loadLocalData(true);
        QCOMPARE(model().missRange(u"k"_s), QByteArray("stored"));
        model().loadLocalData(false);
        QCOMPARE(model().missRange(u"k"_s), QByteArray("newer"));
        model().removeMissRange(u"k"_s);
        QCOMPARE(model().missRange(u"k"_s), QByteArray());
        open();
        QVERIFY(!stored(u"k"_s).isValid());
    }

    void theSaveThreadWritesForTheMainThreadOnly()
    {
        QSemaphore reached;
        QSemaphore released;
        ThreadManager::invoke(
            [&] {
                reached.release();
                released.acquire();
            },
            true);
        reached.acquire();
        model().saveMissRange(u"k"_s, "main");
        model().saveMissRange(u"gone"_s, "x");
        QVERIFY(!stored(u"k"_s).isValid());
        // Another thread does not wait for the save thread; what came before goes with it.
        std::thread([&] { model().saveDialogOffset(5); }).join();
        QCOMPARE(stored(u"k"_s), QByteArray("main"));
        QCOMPARE(stored(u"dialog_offset"_s), 5);
        model().saveMissRange(u"k"_s, "older");
        std::thread([&] {
            model().saveMissRange(u"k"_s, "newer");
            model().removeMissRange(u"gone"_s);
        }).join();
        QVERIFY(!stored(u"gone"_s).isValid());
        released.release();
        ThreadManager::getInstance()->quitAll();
        QCOMPARE(stored(u"k"_s), QByteArray("newer"));
        model().saveMissRange(u"k"_s, "without a save thread");
        QCOMPARE(stored(u"k"_s), model().missRange(u"k"_s));
    }

private:
    /// The account as the next start of the program has it.
    void open()
    {
        m_account.reset();
        m_account = std::make_unique<FakeAccount>();
        m_account->setAccountId(7);
        QVERIFY(m_account->openStorage(true));
    }
    DataInfoModel &model() { return *m_account->dataInfoModel(); }
    /// What another process would find in the store now.
    QVariant stored(const QString &key) const
    {
        storage::UserStorageProvider provider;
        provider.open(m_account->userStatusDataPath(), false);
        return provider.bufferConfigStorage()->value(key);
    }

    std::unique_ptr<FakeAccount> m_account;
};

QTEST_GUILESS_MAIN(TestDataInfoModel)
#include "tst_datainfomodel.moc"
