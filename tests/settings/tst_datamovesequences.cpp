#include "base/json.h"
#include "content/filedata.h"
#include "settings/datamove.h"
#include "settings/fileinuse.h"

#include "support/sequences.h"

#include <QCryptographicHash>
#include <QGuiApplication>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

using Outcome = AppDataMove::Outcome;
using Reason = AppDataMove::Reason;

/// The media of an application: what it has stored of each, a record of some, and what the file
/// must hold. Each content begins with a number of its own.
class Media
{
public:
    explicit Media(Sequence &sequence) : m_sequence(sequence) { }

    void add(bool download)
    {
        static const QStringList names = {u"a.jpg"_s, u"b"_s, QString(85, QChar(0x4e2d))};
        AccountManager *manager = AccountManager::getInstance();
        AccountBase *account = manager->getAccountByIndex(m_sequence.below(manager->count()));
        if (!account)
            return;
        const QString path = account->userCacheDataPath()
            + m_sequence.pick(QStringList{u"photo/"_s, u"photo/sub/"_s, u"clouddrive/video/"_s})
            + m_sequence.pick(names);
        // A name that is used again may be what was stored of the file that had it.
        if (m_used.contains(path) || QFileInfo::exists(path))
            return;
        m_used.insert(path);
        Item item;
        item.account = account->accountId();
        item.row = path;
        item.number = ++m_last;
        item.content = bytes(item.number);
        if (!QDir().mkpath(QFileInfo(path).path()))
            return; // obstructed
        if (download) {
            item.use = m_sequence.chance(50) ? std::make_unique<FileInUse>(path) : nullptr;
            item.writer = std::make_unique<QFile>(path);
            if (!item.writer->open(QIODevice::WriteOnly | QIODevice::Unbuffered))
                qFatal("No download can be begun");
            item.writer->write(item.content);
        } else {
            MediaTree::write(path, item.content);
        }
        if (m_sequence.chance(70)) {
            item.record = std::make_unique<FileData>();
            item.record->updateFilePath(path, true, true);
        }
        m_sequence.note(
            (download ? u"download %1 to %2"_s : u"add %1 as %2"_s).arg(item.number).arg(path));
        m_items.push_back(std::move(item));
    }

    /// A download gets more, or its end; another file is written anew, or taken away.
    void change()
    {
        if (m_items.empty())
            return;
        const auto item = m_items.begin() + m_sequence.below(qsizetype(m_items.size()));
        if (item->isBlocked)
            return;
        if (item->writer) {
            if (m_sequence.chance(50)) {
                const QByteArray more = bytes(item->number);
                item->writer->write(more);
                item->content += more;
            } else {
                finish(*item);
            }
        } else if (m_sequence.chance(60)) {
            m_sequence.note(u"rewrite %1"_s.arg(item->number));
            item->content = bytes(item->number);
            for (QString path = placeOf(*item);;) {
                const FileInUse use(path);
                if (const QString now = placeOf(*item); std::exchange(path, now) != now)
                    continue;
                MediaTree::write(path, item->content);
                break;
            }
            if (item->record)
                item->record->updateFilePath(placeOf(*item), true, true);
        } else {
            m_sequence.note(u"delete %1"_s.arg(item->number));
            while (!QFile::remove(placeOf(*item))) { }
            m_items.erase(item);
        }
    }

    /// Makes a file unreadable, or readable again.
    void block()
    {
        if (m_items.empty() || hasLeftSome) // which may be there twice
            return;
        Item &item = m_items.at(std::size_t(m_sequence.below(qsizetype(m_items.size()))));
        if (item.writer)
            return;
        m_sequence.note(u"block or unblock %1"_s.arg(item.number));
        setBlocked(item, !item.isBlocked);
    }

    void unblock()
    {
        for (Item &item : m_items)
            setBlocked(item, false);
    }

    /// Of somebody who is about to sign out. During a move, all that they have is to go.
    void forget(qint64 account, bool isMoving)
    {
        for (Item &item : m_items) {
            if (item.account != account)
                continue;
            (isMoving && !hasLeftSome ? m_wiped : m_forgotten).insert(item.number);
            setBlocked(item, false);
        }
        std::erase_if(m_items, [&](const Item &item) { return item.account == account; });
    }

    /// Nothing is to be left, wherever it is.
    void wipe()
    {
        for (const qint64 id : accountIds)
            forget(id, false);
        m_wiped += std::exchange(m_forgotten, {});
        hasLeftSome = false;
        // The accounts' own folders go as a whole.
        const QString own = AppDirManager::instance()->defaultCacheDataDir();
        m_foreign.removeIf([&](const QString &file) { return file.startsWith(own); });
    }

    /// Somebody else's file, which stays.
    void addForeign(const QStringList &places)
    {
        const QString file =
            m_sequence.pick(places) + u"%1/"_s.arg(m_sequence.pick(accountIds)) + foreignFile;
        m_sequence.note(u"foreign %1"_s.arg(file));
        MediaTree::write(file, "foreign");
        m_foreign.insert(file);
    }

    /// A file where a folder is to be made, or was made, goes or comes.
    void obstruct(const QStringList &places)
    {
        const QString file =
            m_sequence.pick(places) + u"%1/clouddrive"_s.arg(m_sequence.pick(accountIds));
        const bool isThere = QFileInfo(file).isFile();
        if (!isThere && (QFileInfo::exists(file) || !QFileInfo::exists(QFileInfo(file).path())))
            return;
        m_sequence.note((isThere ? u"clear %1"_s : u"obstruct %1"_s).arg(file));
        if (isThere)
            QFile::remove(file);
        else
            MediaTree::write(file, "obstacle");
    }

    /// The beginning of a copy, of somebody whose move is unfinished.
    void addTrace(const QString &place)
    {
        const qint64 id = m_sequence.pick(accountIds);
        const QVariantMap map = jsonToMap(AppSettingModel::instance()->movedDataInfo());
        if (!map.contains(QString::number(id)))
            return;
        const QByteArray hash =
            QCryptographicHash::hash(QDir::cleanPath(place).toUtf8(), QCryptographicHash::Sha256);
        const QString file = place
            + u"%1/.modelbase-copy-%2"_s.arg(id).arg(QLatin1StringView(hash.toHex().left(16)));
        m_sequence.note(u"trace %1"_s.arg(file));
        MediaTree::write(file, "part of it");
        m_traces.insert(file);
    }
    /// Of a move that is about to be forgotten.
    void removeTraces()
    {
        for (const QString &file : std::exchange(m_traces, {}))
            QFile::remove(file);
    }

    /// A folder that cannot be removed, wherever it is put.
    void addStuck()
    {
        const QStringList used = AppDirManager::instance()->everyDir();
        const QString folder = m_sequence.pick(used) + u"10001/photo/stuck"_s;
        m_sequence.note(u"stuck %1"_s.arg(folder));
        MediaTree::write(folder + u"/left.jpg"_s, "left");
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
        hasStuck = true;
    }
    void freeStuck(const QStringList &places)
    {
        for (const QString &place : places) {
            for (QDirIterator folder(place, {u"stuck"_s}, QDir::Dirs | QDir::Hidden,
                                     QDirIterator::Subdirectories);
                 folder.hasNext();)
                QFile::setPermissions(folder.next(),
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        }
        hasStuck = false;
    }

    void settle(const QStringList &places)
    {
        for (const QString &place : places) {
            for (const qint64 id : accountIds)
                QFile::remove(place + u"%1/clouddrive"_s.arg(id));
        }
        unblock();
        for (Item &item : m_items)
            finish(item);
    }

    /// Every file is found, by what was stored and by its record.
    void check()
    {
        for (const Item &item : m_items) {
            const QByteArray number = QByteArray::number(item.number);
            QVERIFY2(isFound(item, [&] { return placeOf(item); }), number);
            if (!item.record || item.writer) // what changes is not the recorded file
                continue;
            QVERIFY2(isFound(item, [&] { return item.record->filePath(true, false); }), number);
            QCOMPARE(item.record->fileState(), BaseFile::Downloaded);
        }
    }

    /// All files are there once, and nothing else.
    void checkOnce(const QStringList &places) const
    {
        QMap<int, int> counts;
        for (const QString &place : places) {
            const MediaTree media = readMedia(place);
            for (const MediaTree::File &file : media.files)
                ++counts[file.content.left(8).toInt()];
        }
        for (const int number : m_forgotten)
            counts.remove(number);
        // A copy may have had its original left.
        for (auto count = counts.begin(); count != counts.end(); ++count)
            *count = hasLeftSome && !m_wiped.contains(count.key()) ? std::min(*count, 1) : *count;
        QMap<int, int> wanted;
        for (const Item &item : m_items)
            wanted.insert(item.number, 1);
        QCOMPARE(counts, wanted);
        for (const QString &file : m_foreign)
            QVERIFY2(QFileInfo::exists(file), qUtf8Printable(file));
        for (const QString &place : places)
            QCOMPARE(QDir(place).entryList({u".modelbase-*"_s}, QDir::AllEntries | QDir::Hidden),
                     QStringList());
    }

    bool hasStuck = false;
    bool hasLeftSome = false; ///< at an old place: a move was given up, or files were skipped

private:
    struct Item {
        qint64 account = 0;
        QString row;
        int number = 0;
        QByteArray content;
        std::unique_ptr<FileData> record;
        std::unique_ptr<FileInUse> use;
        std::unique_ptr<QFile> writer;
        bool isBlocked = false;
    };

    QByteArray bytes(int number)
    {
        return QByteArray::number(number).rightJustified(8, '0')
            + QByteArray(m_sequence.below(30'000), char('a' + m_sequence.below(26)));
    }

    static QString placeOf(const Item &item)
    {
        return FileData(QVariantMap{{u"filePath"_s, item.row}}, FileData::ParseType::Source)
            .BaseFile::filePath();
    }

    static bool isFound(const Item &item, const std::function<QString()> &find)
    {
        for (int attempt = 0; attempt < 20; ++attempt) { // it may be moved meanwhile
            QFile file(find());
            if (item.isBlocked || item.writer
                    ? file.exists()
                    : file.open(QIODevice::ReadOnly) && file.readAll() == item.content)
                return true;
        }
        return false;
    }

    void finish(Item &item)
    {
        if (!item.writer)
            return;
        m_sequence.note(u"download of %1 ends"_s.arg(item.number));
        item.writer.reset();
        item.use.reset();
        if (item.record)
            item.record->updateFilePath(placeOf(item), true, true);
    }

    static void setBlocked(Item &item, bool blocked)
    {
        const QFile::Permissions permissions =
            blocked ? QFile::Permissions() : QFile::ReadOwner | QFile::WriteOwner;
        while (item.isBlocked != blocked && !QFile::setPermissions(placeOf(item), permissions)) { }
        item.isBlocked = blocked;
    }

    Sequence &m_sequence;
    std::vector<Item> m_items;
    QSet<QString> m_used;
    QSet<int> m_forgotten;
    QSet<int> m_wiped;
    QSet<QString> m_foreign;
    QSet<QString> m_traces;
    int m_last = 0;
};

} // namespace

/// Anything at any time, beside a model of what is to be where.
class TestDataMoveSequences : public DataMoveTest
{
    Q_OBJECT

    /// Everybody signs out, or is wiped, and the application may end at once.
    void leave(Sequence &sequence, Media &media, const QStringList &places)
    {
        AccountManager *manager = AccountManager::getInstance();
        if (sequence.chance(20)) {
            sequence.note(u"wipe that does not come to its end"_s);
            MediaAccount::isOffline = true;
            manager->unlockApp(true, false);
            MediaAccount::isOffline = false;
            restart();
            return;
        }
        const bool isWipe = sequence.chance(50);
        sequence.note(isWipe ? u"wipe"_s : u"everybody signs out"_s);
        const bool isMoving = dataMove()->unfinished();
        if (isWipe) {
            media.wipe();
            if (!isMoving && manager->getAccount(10001) && sequence.chance(30))
                media.addStuck();
            manager->unlockApp(true, false);
        } else {
            for (const qint64 id : accountIds)
                media.forget(id, isMoving);
            manager->logoutAll();
        }
        if (media.hasStuck || sequence.chance(50)) {
            sequence.note(u"restart"_s);
            leaveApplication();
            media.freeStuck(places);
            start();
        }
        QTRY_VERIFY(!dataMove()->unfinished());
        QCOMPARE(AppDirManager::instance()->cacheDataDir(), source());
    }

    /// The disk of the old place is away for a while.
    void unplug(Sequence &sequence, Media &media, const QStringList &places)
    {
        AppDataMove *move = dataMove();
        if (AccountManager::getInstance()->count() == 0 || move->running())
            return;
        const bool begins = !move->unfinished();
        const QString place =
            QDir::cleanPath(begins ? settings()->cacheDataPath() : settings()->oldCacheDataPath());
        if (QDir(place) == QDir(source()))
            return;
        const bool isLate = !begins || sequence.chance(50);
        // Before a move, an empty folder may be a place without media.
        const bool hasMountPoint = isLate && sequence.chance(50);
        const auto pull = [&] {
            sequence.note(u"unplug %1"_s.arg(place));
            media.unblock();
            QVERIFY(QDir().rename(place, place + u"-off"_s));
            QCOMPARE(hasMountPoint && QDir().mkdir(place), hasMountPoint);
        };
        if (!isLate)
            pull();
        if (begins) {
            sequence.note(u"begin to move"_s);
            if (isLate)
                connect(settings(), &AppSettingModel::cacheDataPathChanged, move,
                        &AppDataMove::cancel, Qt::SingleShotConnection);
            QVERIFY(move->moveTo(source()));
            QTRY_VERIFY(!move->running());
        }
        if (isLate)
            pull();
        if (sequence.chance(20)) {
            leave(sequence, media, places);
        } else {
            if (sequence.chance(50)) {
                sequence.note(u"restart"_s);
                restart();
                move = dataMove();
            } else {
                sequence.note(u"retry"_s);
                move->retry();
            }
            QTRY_VERIFY(!move->running());
            QVERIFY(move->unfinished());
            QCOMPARE(move->outcome(), Outcome::Failed);
            QCOMPARE(move->reason(), Reason::OldPlaceMissing);
            QVERIFY(!move->moveTo(place));
            for (const QString &other : places)
                QVERIFY(!move->moveTo(other));
        }
        sequence.note(u"plug in"_s);
        QCOMPARE(QDir().rmdir(place), hasMountPoint);
        QVERIFY(QDir().rename(place + u"-off"_s, place));
    }

    void doSomething(Sequence &sequence, Media &media, const QStringList &places)
    {
        AccountManager *manager = AccountManager::getInstance();
        AppDataMove *move = dataMove();
        switch (sequence.below(20)) {
        case 0:
        case 1: {
            const QString place = sequence.pick(places);
            const bool isFree = !move->running();
            const bool mayGo = isFree && place != settings()->cacheDataPath()
                && (!move->unfinished() || place == settings()->oldCacheDataPath());
            if (mayGo && sequence.chance(10)) {
                sequence.note(u"everybody signs out in a handler"_s);
                const auto signOut = [&media, manager, isMoving = move->unfinished()] {
                    for (const qint64 id : accountIds)
                        media.forget(id, isMoving);
                    manager->logoutAll();
                };
                if (sequence.chance(50))
                    connect(move, &AppDataMove::totalBytesChanged, manager, signOut,
                            Qt::SingleShotConnection);
                else
                    connect(settings(), &AppSettingModel::cacheDataPathChanged, manager, signOut,
                            Qt::SingleShotConnection);
            }
            sequence.note(u"move to %1"_s.arg(place));
            QCOMPARE(move->moveTo(place), mayGo);
            QCOMPARE(move->outcome() == Outcome::Refused, !mayGo && isFree);
            QCOMPARE(move->reason() != Reason::None, !mayGo);
            break;
        }
        case 2:
            sequence.note(u"cancel"_s);
            move->cancel();
            break;
        case 3:
            sequence.note(u"retry"_s);
            move->retry();
            break;
        case 4: {
            sequence.note(u"skip"_s);
            const bool mayGo =
                !move->running() && move->unfinished() && !move->problems().isEmpty();
            media.hasLeftSome |= mayGo;
            QCOMPARE(move->skip(), mayGo);
            break;
        }
        case 5:
            if (sequence.chance(50)) {
                sequence.note(u"give up"_s);
                media.hasLeftSome |= move->unfinished();
                move->giveUp();
            } else if (sequence.chance(20)) {
                sequence.note(u"reset the settings"_s);
                media.hasLeftSome = true;
                media.removeTraces();
                media.unblock();
                settings()->reset();
            }
            break;
        case 6:
            if (AccountBase *account = manager->getAccountByIndex(sequence.below(manager->count()));
                account && sequence.chance(30)) {
                sequence.note(u"sign %1 out"_s.arg(account->accountId()));
                media.forget(account->accountId(), move->unfinished());
                manager->logout(account);
            }
            break;
        case 14:
            if (sequence.chance(50))
                leave(sequence, media, places);
            break;
        case 15:
            unplug(sequence, media, places);
            break;
        case 16:
            sequence.chance(30) ? media.addForeign(places) : media.obstruct(places);
            break;
        case 17:
            // What a kill leaves of the file that it has stopped.
            if (move->unfinished() && !move->running())
                media.addTrace(settings()->cacheDataPath());
            break;
        case 7:
            for (const qint64 id : accountIds) {
                if (settings()->accountIds().contains(id) || !manager->addAccount())
                    continue;
                sequence.note(u"sign %1 in"_s.arg(id));
                QVERIFY(qobject_cast<FakeAccount *>(manager->loginAccount())->signIn(id));
                break;
            }
            break;
        case 8:
            if (sequence.chance(50)) {
                const qint64 locked = sequence.chance(30) ? sequence.pick(accountIds) : 0;
                sequence.note(u"restart, %1 cannot be opened"_s.arg(locked));
                restart(locked);
            }
            break;
        case 9:
            media.block();
            break;
        case 10:
            media.add(true);
            break;
        case 11:
            sequence.note(u"wait for the end"_s);
            QTRY_VERIFY_WITH_TIMEOUT(!dataMove()->running(), 60'000);
            break;
        case 12:
        case 13:
            media.change();
            break;
        default:
            media.add(false);
        }
        QTest::qWait(sequence.below(20));
    }

private Q_SLOTS:
    void randomSequences()
    {
        const auto run = [this](Sequence &sequence) {
            cleanup();
            init();
            Media media(sequence);
            const QString third = m_home->path() + u"/third/"_s;
            QVERIFY(QDir().mkpath(third));
            const QStringList places = {source(), target(), third};
            while (sequence.next()) {
                doSomething(sequence, media, places);
                media.check();
            }
            if (QTest::currentTestFailed())
                return;
            media.settle(places);
            for (int i = 0; i < 4 && dataMove()->unfinished(); ++i) {
                QTRY_VERIFY_WITH_TIMEOUT(!dataMove()->running(), 60'000);
                dataMove()->retry();
            }
            QTRY_VERIFY(!dataMove()->unfinished());
            media.check();
            leaveApplication();
            start();
            leaveApplication(); // which waits for what is being deleted
            media.checkOnce(places);
            start();
            // What is empty may be a disk that is not there.
            for (const QString &place : places)
                QTRY_VERIFY(
                    QDir(place).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
                    || !settings()
                            ->getValue(u"left_media"_s, {})
                            .toByteArray()
                            .contains(place.toUtf8()));
        };
        runSequences("data move", 40, 30, run);
    }
};

int main(int argc, char *argv[])
{
    respectPermissions(argv);
    QGuiApplication app(argc, argv);
    TestDataMoveSequences test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_datamovesequences.moc"
