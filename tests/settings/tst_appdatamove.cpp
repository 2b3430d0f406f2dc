#include "account/accountmanager.h"
#include "account/threadmanager.h"
#include "base/json.h"
#include "base/util.h"
#include "content/filedata.h"
#include "content/photodata.h"
#include "settings/appdatamove.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "settings/fileinuse.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"

#include "support/fakeaccount.h"
#include "support/mediatree.h"
#include "support/powercut.h"
#include "support/sequences.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#ifdef Q_OS_UNIX
#    include <sys/wait.h>
#    include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace
{

const QList<qint64> accountIds = {10001, 10002};

using Outcome = AppDataMove::Outcome;
using Reason = AppDataMove::Reason;
using FileCause = AppDataMove::FileCause;

const QString noSpace = u"There is not enough space at the new place."_s;
const QString notWritable = u"The new place cannot be written to."_s;
const QString filesLeft = u"Some files could not be moved."_s;
const QString unfinished = u"The last move has not finished yet."_s;

/// An account that opens its store wherever it is.
class MediaAccount : public FakeAccount
{
public:
    using FakeAccount::FakeAccount;
    void restore(QVariantMap params, bool, int) override
    {
        setAccountId(params.value(u"userId"_s).toLongLong());
        setAuthorized(accountId() != lockedId && openStorage(true));
    }
    void logout(bool deleteThis) override
    {
        // Not what somebody else has put beside the media.
        const QDir place(userCacheDataPath());
        for (const QString &folder : place.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            if (folder != u"userstatus"_s)
                Util::removeLocalFolder(place.filePath(folder));
        }
        FakeAccount::logout(deleteThis);
    }
    void deleteAccount(bool deleteChats, int retryTimes, bool silent, bool recoverable) override
    {
        if (!isOffline)
            FakeAccount::deleteAccount(deleteChats, retryTimes, silent, recoverable);
    }

    static inline bool isOffline = false; ///< a wipe does not come to them
    static inline qint64 lockedId = 0;    ///< which cannot be opened just now
};

/// In an account's folder, and none of its media.
const QString foreignFile = u".moving"_s;

/// The media of all accounts: what is to be moved, and nothing of what lies beside it.
MediaTree readMedia(const QString &root)
{
    MediaTree media;
    for (const qint64 id : accountIds) {
        const QString account = root + u'/' + QString::number(id);
        const MediaTree files = MediaTree::read(account);
        for (auto file = files.files.cbegin(); file != files.files.cend(); ++file) {
            if (!file.key().startsWith(u"userstatus/") && file.key() != foreignFile)
                media.files.insert(QString::number(id) + u'/' + file.key(), file.value());
        }
    }
    return media;
}

void fillMedia(const QString &root, quint32 seed, int count = 6)
{
    for (const qint64 id : accountIds) {
        for (const QString &folder : {u"photo"_s, u"sticker"_s, u"clouddrive/video"_s,
                                      u"schedule/messagefile"_s, u"file"_s})
            MediaTree::fill(root + u'/' + QString::number(id) + u'/' + folder, count, ++seed);
        MediaTree::write(root + u"/%1/audio/empty"_s.arg(id), {});
    }
}

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
        if (m_items.empty())
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
    int m_last = 0;
};

constexpr qint64 leavingId = 10003;

QString downloadPath()
{
    return AppDirManager::instance()->defaultCacheDataDir() + u"10001/file/film.mp4"_s;
}

QByteArray downloadPart(int number)
{
    return QByteArray::number(number).rightJustified(8, '0');
}

/// Goes on with a download, wherever its file is, and says how far it is.
void goOnWithDownload()
{
    const QString stored = downloadPath();
    const auto find = [&] {
        return FileData(QVariantMap{{u"filePath"_s, stored}}, FileData::ParseType::Source)
            .BaseFile::filePath();
    };
    QString path = find();
    const FileInUse use(path);
    QFile file(path);
    if (path.isEmpty() || path != find() || !file.open(QIODevice::Append | QIODevice::Unbuffered))
        return; // another time
    for (int i = 0; i < 50; ++i) {
        const int number = int(file.size() / 8);
        file.write(downloadPart(number));
        std::printf("wrote %d\n", number);
        std::fflush(stdout);
        QThread::msleep(1);
    }
}

/// What a process does that is started to be killed: it starts up, which goes on with a move that
/// is stored, moves the data unless they are there, and ends when all of them are that can be.
/// Meanwhile a download goes on, and an account signs out.
int moveAsChild(const QString &target, const QString &mode)
{
    ThreadManager::getInstance()->init();
    AppSettingModel *settings = AppSettingModel::instance();
    settings->loadGlobalData();
    if (settings->accountIds().isEmpty())
        settings->setAccountIds({accountIds.at(0), accountIds.at(1), leavingId});
    startApplication<MediaAccount>();
    AppDataMove *move = AccountManager::getInstance()->appDataMove();
    std::puts("ready");
    std::fflush(stdout);
    if (mode != u"move"_s) {
        // After what the main thread keeps is destroyed.
        std::atexit([] { AppSettingModel::instance()->accountIds(); });
#ifdef Q_OS_UNIX
        const pid_t fork = ::fork();
        int status = 0;
        if (fork == 0)
            std::exit(0);
        if (waitpid(fork, &status, 0) != fork || status != 0)
            return 4;
#endif
        QObject::connect(move, &AppDataMove::movedBytesChanged, qApp, [mode] {
            if (mode == u"exit"_s)
                std::exit(5);
            qApp->exit(5);
        });
        return move->moveTo(target) ? qApp->exec() : 3;
    }
    std::thread download(goOnWithDownload);
    const auto leave = [] {
        AccountManager *manager = AccountManager::getInstance();
        manager->logout(manager->getAccount(leavingId));
    };
    QTimer::singleShot(QRandomGenerator::global()->bounded(30), qApp, leave);
    QObject::connect(
        move, &AppDataMove::finished, qApp,
        [move](bool ok) {
            if (ok || !move->skip())
                qApp->exit(ok ? 0 : 2);
        },
        Qt::QueuedConnection);
    int result = 0;
    if (move->running() || QDir(settings->cacheDataPath()) != QDir(target))
        result = move->running() || move->moveTo(target) ? qApp->exec() : 3;
    leave();
    download.join();
    leaveApplication();
    return result;
}

} // namespace

class TestAppDataMove : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<QSignalSpy> m_errors;
    std::unique_ptr<QSignalSpy> m_finished;

    static QString source() { return AppDirManager::instance()->defaultCacheDataDir(); }
    QString target() const { return m_home->path() + u"/new/"_s; }
    static AppDataMove *dataMove() { return AccountManager::getInstance()->appDataMove(); }
    static AppSettingModel *settings() { return AppSettingModel::instance(); }

    void start()
    {
        startApplication<MediaAccount>();
        m_errors =
            std::make_unique<QSignalSpy>(AccountManager::getInstance(), &AccountManager::error);
        m_finished = std::make_unique<QSignalSpy>(dataMove(), &AppDataMove::finished);
    }

    /// Waits for the end of a move; true when it was a success.
    bool finish()
    {
        if (m_finished->isEmpty() && !m_finished->wait(60'000))
            return false;
        return m_finished->size() == 1 && m_finished->takeFirst().at(0).toBool()
            && !dataMove()->running();
    }

    /// Starts a move that comes to something in its way in the first account.
    bool moveIntoObstacle()
    {
        MediaTree::write(target() + u"10001/sticker"_s, "a file in the way");
        return dataMove()->moveTo(target()) && !finish() && takeError() == filesLeft
            && dataMove()->reason() == Reason::FilesLeft;
    }

    QString takeError()
    {
        return m_errors->size() == 1 ? m_errors->takeFirst().at(1).toString() : QString();
    }

    static bool usesSource()
    {
        return settings()->cacheDataPath() == source() && settings()->movedDataInfo().isEmpty()
            && AppDirManager::instance()->cacheDataDir() == source()
            && AccountManager::getInstance()->getAccount(10001)->userCacheDataPath()
            == source() + u"10001/"_s;
    }

    static qint64 leftBytes() { return readMedia(source()).bytes(); }

    /// The stored flags of an account, true ones first.
    static QList<bool> flags(qint64 id)
    {
        QList<bool> all;
        const QVariantMap map = jsonToMap(settings()->movedDataInfo());
        for (const QVariant &entry : jsonToList(map.value(QString::number(id)).toString().toUtf8()))
            all.append(entry.toMap().value(u"moved"_s).toBool());
        return all;
    }

    std::unique_ptr<QProcess> startChild(const QString &home, const QString &shellSetup = {},
                                         const QString &mode = u"move"_s) const
    {
        auto child = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_DATA_HOME"_s, home + u"/data"_s);
        if (mode != u"move"_s) // whose end leaves everything as it is
            environment.insert(u"ASAN_OPTIONS"_s, u"detect_leaks=0"_s);
        child->setProcessEnvironment(environment);
        child->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        const QString program = QCoreApplication::applicationFilePath();
        if (shellSetup.isEmpty()) {
            child->start(program, {mode, home + u"/new"_s});
        } else {
            child->start(
                u"/bin/sh"_s,
                {u"-c"_s, shellSetup + u"; exec \"$0\" \"$@\""_s, program, mode, home + u"/new"_s});
        }
        if (!child->waitForReadyRead(30'000))
            qWarning("A child does not get ready");
        return child;
    }

    static int run(QProcess &child)
    {
        child.waitForFinished(60'000);
        return child.exitStatus() == QProcess::NormalExit ? child.exitCode() : -1;
    }

    /// Everybody signs out, or is wiped, and the application may end at once.
    void leave(Sequence &sequence, Media &media)
    {
        AccountManager *manager = AccountManager::getInstance();
        if (sequence.chance(20)) {
            sequence.note(u"wipe that does not come to its end"_s);
            MediaAccount::isOffline = true;
            manager->unlockApp(true, false);
            MediaAccount::isOffline = false;
            leaveApplication();
            start();
            return;
        }
        const bool isWipe = sequence.chance(50);
        sequence.note(isWipe ? u"wipe"_s : u"everybody signs out"_s);
        const bool isMoving = dataMove()->unfinished();
        if (isWipe) {
            media.wipe();
            manager->unlockApp(true, false);
        } else {
            for (const qint64 id : accountIds)
                media.forget(id, isMoving);
            manager->logoutAll();
        }
        if (sequence.chance(50)) {
            sequence.note(u"restart"_s);
            leaveApplication();
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
        if (!move->unfinished() && settings()->cacheDataPath() != source()) {
            sequence.note(u"begin to move"_s);
            connect(settings(), &AppSettingModel::cacheDataPathChanged, move, &AppDataMove::cancel,
                    Qt::SingleShotConnection);
            QVERIFY(move->moveTo(source()));
            QTRY_VERIFY(!move->running());
        }
        const QString place = QDir::cleanPath(settings()->oldCacheDataPath());
        if (!move->unfinished() || QDir(place) == QDir(source()))
            return;
        media.unblock();
        sequence.note(u"unplug %1"_s.arg(place));
        QVERIFY(QDir().rename(place, place + u"-off"_s));
        const bool hasMountPoint = sequence.chance(50);
        if (hasMountPoint)
            QVERIFY(QDir().mkdir(place));
        if (sequence.chance(20)) {
            leave(sequence, media);
        } else {
            if (sequence.chance(50)) {
                sequence.note(u"restart"_s);
                leaveApplication();
                start();
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
                leave(sequence, media);
            break;
        case 15:
            unplug(sequence, media, places);
            break;
        case 16:
            sequence.chance(30) ? media.addForeign(places) : media.obstruct(places);
            break;
        case 7:
            for (const qint64 id : accountIds) {
                if (manager->getAccount(id) || !manager->addAccount())
                    continue;
                sequence.note(u"sign %1 in"_s.arg(id));
                QVERIFY(qobject_cast<FakeAccount *>(manager->loginAccount())->signIn(id));
                break;
            }
            break;
        case 8:
            if (sequence.chance(50)) {
                sequence.note(u"restart"_s);
                leaveApplication();
                start();
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
    void init()
    {
        // Where there are two file systems, two.
        m_home = std::make_unique<QTemporaryDir>(u"/dev/shm/datamove-XXXXXX"_s);
        if (!m_home->isValid())
            m_home = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(target()));
        ThreadManager::getInstance()->init();
        settings()->loadGlobalData();
        settings()->setAccountIds({accountIds.cbegin(), accountIds.cend()});
        start();
        QVERIFY(usesSource());
    }

    void cleanup()
    {
        leaveApplication();
        for (const QString &entry :
             QDir(source()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
            if (entry != u"log") {
                QDir(source() + entry).removeRecursively();
                QFile::remove(source() + entry);
            }
        }
    }

    void movesEverything()
    {
        fillMedia(source(), 1);
        MediaTree::write(source() + u"10001/userstatus/kept"_s, "kept");
        const MediaTree before = readMedia(source());

        int wrongThread = 0;
        int percent = -1;
        bool switchedFirst = false;
        connect(settings(), &AppSettingModel::cacheDataPathChanged, this,
                [&] { switchedFirst = readMedia(target()).files.isEmpty(); });
        connect(dataMove(), &AppDataMove::percentChanged, this, [&] {
            wrongThread += QThread::currentThread() != thread();
            QCOMPARE_GT(dataMove()->percent(), percent);
            percent = dataMove()->percent();
        });
        QVERIFY(dataMove()->moveTo(QUrl::fromLocalFile(target()).toString()));
        QVERIFY(dataMove()->running());
        QVERIFY(!dataMove()->moveTo(m_home->path()));
        QCOMPARE(takeError(), u"A move is under way."_s);
        QCOMPARE(dataMove()->reason(), Reason::Running);
        QVERIFY(finish());
        QCOMPARE(dataMove()->outcome(), Outcome::Moved);
        QVERIFY(!dataMove()->unfinished());

        QVERIFY(switchedFirst);
        QCOMPARE(readMedia(target()), before);
        QVERIFY(readMedia(source()).files.isEmpty());
        QVERIFY(QFileInfo::exists(source() + u"10001/userstatus/kept"_s));
        QVERIFY(!QFileInfo::exists(target() + u"10001/userstatus"_s));
        QVERIFY(!QFileInfo::exists(source() + u"10001/photo"_s));
        QCOMPARE(settings()->cacheDataPath(), target());
        QCOMPARE(settings()->oldCacheDataPath(), source());
        QCOMPARE(settings()->movedDataInfo(), QByteArray());
        QCOMPARE(AppDirManager::instance()->cacheDataDir(), target());
        QCOMPARE(AccountManager::getInstance()->getAccount(10002)->userCacheDataPath(),
                 target() + u"10002/"_s);
        QCOMPARE(percent, 100);
        QCOMPARE(wrongThread, 0);
        QCOMPARE(dataMove()->movedBytes(), before.bytes());
        QCOMPARE(dataMove()->totalBytes(), before.bytes());
        QVERIFY(m_errors->isEmpty());
    }

    void refusesWithAReason()
    {
        fillMedia(source(), 2);
        const MediaTree before = readMedia(source());
        const QString parent = QFileInfo(QDir::cleanPath(source())).path();
        QVERIFY(QFile::link(source(), m_home->path() + u"/link"_s));
        QVERIFY(QFile::link(parent, m_home->path() + u"/parent"_s));
        MediaTree::write(m_home->path() + u"/file"_s, "file");
        const QString here = u"The files are there already."_s;
        const QString inside = u"The new place lies inside the present one."_s;
        const QString around = u"The present place lies inside the new one."_s;
        const QString missing = u"The new place does not exist."_s;
        const struct {
            QString place;
            Reason reason;
            QString text;
        } rows[] = {
            {source(), Reason::SamePlace, here},
            {m_home->path() + u"/link"_s, Reason::SamePlace, here},
            {source() + u"10001"_s, Reason::TargetInside, inside},
            {source() + u"not/there"_s, Reason::TargetInside, inside},
            {m_home->path() + u"/link/10001/photo"_s, Reason::TargetInside, inside},
            {parent, Reason::TargetAround, around},
            {u"/"_s, Reason::TargetAround, around},
            {u"new"_s, Reason::TargetRelative, u"The new place needs a full path."_s},
            {source() + u"10001/../.."_s, Reason::TargetAround, around},
            {m_home->path() + u"/parent"_s, Reason::TargetAround, around},
            {m_home->path() + u"/not there"_s, Reason::NoTarget, missing},
            {QString(), Reason::NoTarget, missing},
            {m_home->path() + u"/file"_s, Reason::TargetNotDirectory,
             u"The new place is not a directory."_s},
        };
        const QString current = QDir::currentPath();
        const auto restore = qScopeGuard([&] { QDir::setCurrent(current); });
        QVERIFY(QDir::setCurrent(m_home->path()));
        for (const auto &row : rows) {
            QVERIFY2(!dataMove()->moveTo(row.place), qUtf8Printable(row.place));
            QCOMPARE(dataMove()->outcome(), Outcome::Refused);
            QCOMPARE(dataMove()->reason(), row.reason);
            QCOMPARE(takeError(), row.text);
            QCOMPARE(dataMove()->reasonText(), row.text);
        }
        QVERIFY(usesSource());
        QCOMPARE(readMedia(source()), before);
        QVERIFY(m_finished->isEmpty());
    }

    void tooLittleSpace()
    {
        fillMedia(source(), 3);
        MediaTree::write(source() + u"10002/video/file"_s, {});
        // Without as many blocks.
        if (!QFile::resize(source() + u"10002/video/file"_s, qint64(1) << 43))
            QSKIP("The file system has no large sparse files");
        QVERIFY(dataMove()->moveTo(target()));
        QVERIFY(!finish());
        QCOMPARE(takeError(), noSpace);
        QVERIFY(usesSource());
        QVERIFY(QDir(target()).isEmpty());
        QCOMPARE(dataMove()->reason(), Reason::NoSpace);

        // As one could have known.
        QSignalSpy measured(dataMove(), &AppDataMove::measured);
        dataMove()->measure(target());
        dataMove()->measure(m_home->path() + u"/not there"_s);
        QTRY_COMPARE(measured.size(), 2);
        std::sort(measured.begin(), measured.end(), [&](const auto &left, const auto &) {
            return left.at(0).toString() == target();
        });
        QVERIFY(measured.at(0).at(1).toLongLong() > qint64(1) << 43);
        QVERIFY(measured.at(0).at(2).toLongLong() > 0);
        QCOMPARE(measured.at(1).at(2).toLongLong(), -1);
    }

    void undoesTheSwitch()
    {
        fillMedia(source(), 4);
        const MediaTree before = readMedia(source());
        MediaTree::write(target() + u"10001"_s, "a file in the way");
        QSignalSpy switches(settings(), &AppSettingModel::cacheDataPathChanged);
        QVERIFY(dataMove()->moveTo(target()));
        QVERIFY(!finish());
        QCOMPARE(takeError(), notWritable);
        QCOMPARE(switches.size(), 2);
        QVERIFY(usesSource());
        QCOMPARE(settings()->oldCacheDataPath(), QString());
        QCOMPARE(AppDirManager::instance()->oldCacheDataDir(), QString());
        QCOMPARE(readMedia(source()), before);

        leaveApplication();
        start();
        QVERIFY(usesSource());
        QVERIFY(!dataMove()->running());
    }

    void namesTheObstacle()
    {
        fillMedia(source(), 5);
        QVERIFY(moveIntoObstacle());
        QCOMPARE(dataMove()->outcome(), Outcome::Failed);
        QCOMPARE(dataMove()->movedBytes(), dataMove()->totalBytes() - leftBytes());
        const QVariantList problems = dataMove()->problems();
        QCOMPARE(problems.size(), 6);
        const QVariantMap problem = problems.first().toMap();
        QVERIFY(problem.value(u"path"_s).toString().startsWith(source() + u"10001/sticker/"_s));
        QCOMPARE(problem.value(u"cause"_s).value<FileCause>(), FileCause::InTheWay);
        QCOMPARE(problem.value(u"obstacle"_s).toString(), target() + u"10001/sticker"_s);
        QVERIFY(!problem.value(u"text"_s).toString().isEmpty());
        QVERIFY(flags(10001).contains(false));
        QVERIFY(!flags(10002).contains(false));
    }

    void undoesTheSwitchBack()
    {
        fillMedia(source(), 6);
        const MediaTree before = readMedia(source());
        QVERIFY(moveIntoObstacle());
        QVERIFY(!readMedia(target()).files.isEmpty());
        m_errors->clear();

        // Nothing is begun that the next start would not know of.
        const QByteArray info = settings()->movedDataInfo();
        settings()->closeGlobalStorage();
        QVERIFY(dataMove()->moveTo(source()));
        QVERIFY(!finish());
        QCOMPARE(dataMove()->reason(), Reason::NotStored);
        QVERIFY(!takeError().isEmpty());
        QCOMPARE(settings()->cacheDataPath(), target());
        QCOMPARE(settings()->oldCacheDataPath(), source());
        QCOMPARE(settings()->movedDataInfo(), info);
        settings()->loadGlobalData();
        MediaTree all = readMedia(source());
        all.files.insert(readMedia(target()).files);
        all.files.remove(u"10001/sticker"_s);
        QCOMPARE(all, before);
    }

    // What a kill leaves that comes between the reset of the settings and the end of a move.
    void storedMoveWithoutAPlace()
    {
        fillMedia(source(), 9);
        settings()->setMovedDataInfo(mapToJson({{u"777"_s, u"[]"_s}}));
        leaveApplication();
        start();
        QVERIFY(!dataMove()->unfinished());
        settings()->setMovedDataInfo("{}");
        QVERIFY(dataMove()->moveTo(target()));
        QVERIFY(finish());
    }

    // One that could not be opened this time is not gone.
    void accountsThatAreNotListed()
    {
        fillMedia(source(), 10);
        const MediaTree before = readMedia(source());
        QVERIFY(moveIntoObstacle());
        QVERIFY(QFile::remove(target() + u"10001/sticker"_s));
        // And a wipe that was asked for has not come to it.
        MediaAccount::isOffline = true;
        AccountManager::getInstance()->unlockApp(true, false);
        MediaAccount::isOffline = false;
        leaveApplication();
        MediaAccount::lockedId = 10001;
        start();
        MediaAccount::lockedId = 0;
        QVERIFY(!AccountManager::getInstance()->getAccount(10001));
        QVERIFY(finish());
        QCOMPARE(readMedia(target()), before);
        // Nor is one that begins now without its media.
        QVERIFY(dataMove()->moveTo(source()));
        QVERIFY(finish());
        QCOMPARE(readMedia(source()), before);
    }

    // Whatever was moved and reset since.
    void wipeOfFormerPlaces()
    {
        QStringList left;
        for (const QString &name : {u"second"_s, u"third"_s, u"fourth"_s}) {
            const QString place = m_home->path() + u'/' + name + u'/';
            QVERIFY(QDir().mkpath(place) && dataMove()->moveTo(place));
            QVERIFY(finish());
            left.append(place + u"10001/photo/left.jpg"_s);
        }
        settings()->reset();
        leaveApplication();
        start();
        for (const QString &file : std::as_const(left))
            MediaTree::write(file, "left");
        // One cannot be removed, wherever it is put, before the next start.
        const QString stuck = m_home->path() + u"/third/10001/photo/stuck"_s;
        MediaTree::write(stuck + u"/left.jpg"_s, "left");
        const QFile::Permissions usual = QFile::permissions(stuck);
        QVERIFY(QFile::setPermissions(stuck, QFile::ReadOwner | QFile::ExeOwner));
        AccountManager::getInstance()->unlockApp(true, false);
        for (const QString &file : std::as_const(left))
            QTRY_VERIFY2(!QFileInfo::exists(file), qPrintable(file));
        leaveApplication();
        for (QDirIterator folder(m_home->path(), {u"stuck"_s}, QDir::Dirs | QDir::Hidden,
                                 QDirIterator::Subdirectories);
             folder.hasNext();)
            QVERIFY(QFile::setPermissions(folder.next(), usual));
        start();
        QTRY_VERIFY(MediaTree::read(m_home->path() + u"/third"_s).files.isEmpty());
    }

    void wipeOfWhatCannotBeRemoved_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<bool>("comesBack");
        QTest::addColumn<qint64>("lockedId");
        QTest::newRow("nobody comes back") << u"userstatus"_s << false << qint64(0);
        QTest::newRow("only media stay") << u"image"_s << false << qint64(0);
        QTest::newRow("who was there comes back") << u"userstatus"_s << true << qint64(0);
        QTest::newRow("and cannot be opened") << u"userstatus"_s << true << qint64(10001);
    }
    void wipeOfWhatCannotBeRemoved()
    {
        QFETCH(const QString, folder);
        QFETCH(const bool, comesBack);
        QFETCH(const qint64, lockedId);
        leaveApplication();
        MediaAccount::lockedId = 10002;
        start();
        MediaAccount::lockedId = 0;
        const QString account = source() + u"10001"_s;
        const QString store = account + u"/userstatus"_s;
        const QString stuck = account + u'/' + folder;
        MediaTree::write(store + u"/other"_s, "secret");
        MediaTree::write(stuck + u"/file"_s, "secret");
        QVERIFY(QFile::setPermissions(stuck, QFile::ReadOwner | QFile::ExeOwner));
        const QString key = source() + u"master.key"_s;
        QFile::remove(key);
        MediaTree::write(key + u"/in the way"_s, "");
        AccountManager *manager = AccountManager::getInstance();
        QSignalSpy wiped(manager, &AccountManager::appWiped);
        manager->unlockApp(true, false);
        QVERIFY(wiped.wait());
        QVERIFY(QFileInfo::exists(stuck) && !QFileInfo::exists(source() + u"10002"_s));
        QCOMPARE(QFileInfo::exists(store), stuck == store);
        QVERIFY(QDir(key).removeRecursively());
        MediaTree::write(key, QByteArray(32, 'k'));
        // Nobody gets to see it again, and a reset does not forget it.
        settings()->reset();
        const auto signIn = [&] {
            return static_cast<MediaAccount *>(manager->loginAccount())->signIn(10001);
        };
        if (stuck == store)
            QVERIFY(!signIn());
        QVERIFY(
            QFile::setPermissions(stuck, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        if (comesBack)
            QVERIFY(signIn() && !QFileInfo::exists(store + u"/other"_s));
        const QByteArray left = settings()->value(u"left_stores"_s, {}).toByteArray();
        settings()->setValue(u"left_stores"_s, listToJson(jsonToList(left) << u"music"_s), true);
        leaveApplication();
        // What the wipe did not leave is no business of the next start, nor is what is no account's.
        const QString others[] = {source() + u"777/userstatus/account.db"_s,
                                  source() + u"music/kept"_s};
        for (const QString &other : others)
            MediaTree::write(other, "kept");
        MediaAccount::lockedId = lockedId;
        start();
        MediaAccount::lockedId = 0;
        QCOMPARE(QFileInfo::exists(account), comesBack);
        QCOMPARE(QFileInfo::exists(key), comesBack);
        for (const QString &other : others)
            QVERIFY(QFileInfo::exists(other));
        QVERIFY(!settings()->value(u"left_stores"_s, {}).isValid());
    }

    void settingsThatCannotBeRead_data()
    {
        QTest::addColumn<bool>("wipes");
        QTest::newRow("a move is refused") << false;
        QTest::newRow("a wipe removes what they tell of") << true;
    }
    void settingsThatCannotBeRead()
    {
        QFETCH(bool, wipes);
        fillMedia(source(), 14);
        QVERIFY(dataMove()->moveTo(target()));
        QVERIFY(finish());
        MediaTree::write(target() + u"0/image/ofTheNotebook"_s, "new");
        const MediaTree moved = readMedia(target());
        leaveApplication();
        const QString file =
            QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + u"/global.db"_s;
        QVERIFY(QFile::rename(file, file + u".aside"_s) && QDir().mkdir(file));
        start();
        QVERIFY(!dataMove()->moveTo(source()));
        QCOMPARE(takeError(), u"The settings cannot be stored just now."_s);
        if (wipes) {
            QSignalSpy wiped(AccountManager::getInstance(), &AccountManager::appWiped);
            AccountManager::getInstance()->unlockApp(true, false);
            QVERIFY(wiped.wait());
        }
        QVERIFY(QDir().rmdir(file) && QFile::rename(file + u".aside"_s, file));
        QVERIFY(settings()->flush());
        leaveApplication();
        start();
        QCOMPARE(AppDirManager::instance()->cacheDataDir(), wipes ? source() : target());
        QCOMPARE(readMedia(target()), wipes ? MediaTree() : moved);
        QCOMPARE(QFileInfo::exists(target() + u"0/image/ofTheNotebook"_s), !wipes);
    }

    void processEndsDuringAMove_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::newRow("exit() in a handler") << u"exit"_s;
        QTest::newRow("main() returns") << u"return"_s;
    }
    void processEndsDuringAMove()
    {
        QFETCH(QString, mode);
        const QString data = m_home->path() + u"/data/"_s + QCoreApplication::applicationName();
        fillMedia(data, 31, 8);
        const MediaTree before = readMedia(data);
        std::unique_ptr<QProcess> child = startChild(m_home->path(), {}, mode);
        QCOMPARE(run(*child), 5);
        child = startChild(m_home->path());
        QCOMPARE(run(*child), 0);
        QCOMPARE(readMedia(target()), before);
    }

    void storedMapsOfAllKinds_data()
    {
        const auto entries = [](int modelType, int fileType) {
            return QString::fromUtf8(listToJson({QVariantMap{
                {u"modelType"_s, modelType}, {u"fileType"_s, fileType}, {u"moved"_s, false}}}));
        };
        QTest::addColumn<QByteArray>("info");
        QTest::addColumn<int>("left"); // files at the old place
        QTest::newRow("no JSON") << "\x00\xff{"_ba << 0;
        QTest::newRow("of no account") << "{}"_ba << 0;
        QTest::newRow("hostile") << mapToJson({{u"../new2"_s, entries(1, 0)},
                                               {u"10001"_s, entries(64, 0)},
                                               {u"10002"_s, entries(1, 7)},
                                               {u"0"_s, entries(1, 0)}})
                                 << 0;
        // The media of 10001 but for one folder.
        QTest::newRow("part") << mapToJson({{u"10001"_s, entries(1, 0)}, {u"777"_s, entries(1, 1)}})
                              << -1;
    }
    void storedMapsOfAllKinds()
    {
        QFETCH(QByteArray, info);
        QFETCH(int, left);
        fillMedia(source(), 11);
        const MediaTree before = readMedia(source());
        MediaTree::write(source() + u"10001/userstatus/kept"_s, "kept");
        MediaTree::write(target() + u"777/photo/x"_s, "of an account that is gone");
        settings()->setCacheDataPath(target());
        settings()->setOldCacheDataPath(source());
        settings()->setMovedDataInfo(info);
        leaveApplication();
        start();
        QVERIFY(dataMove()->running());
        QVERIFY(finish());
        QVERIFY(QFileInfo::exists(source() + u"10001/userstatus/kept"_s));
        const MediaTree stayed = readMedia(source());
        if (left == 0) {
            QCOMPARE(readMedia(target()), before);
            QCOMPARE(stayed.files.size(), 0);
        } else {
            QCOMPARE(readMedia(target()).files.size(), 6);
            QCOMPARE(stayed.files.size(), before.files.size() - 6);
            QVERIFY(!QFileInfo::exists(target() + u"777"_s));
        }
        QCOMPARE(settings()->movedDataInfo(), QByteArray());
    }

    void placesThatAreNotThere()
    {
        fillMedia(source(), 12);
        const MediaTree before = readMedia(source());
        const QByteArray info = mapToJson({{u"10001"_s, u"[]"_s}});
        settings()->setOldCacheDataPath(source());
        settings()->setCacheDataPath(m_home->path() + u"/unplugged/"_s);
        settings()->setMovedDataInfo(info);
        dataMove()->resume();
        QVERIFY(!finish());
        QCOMPARE(dataMove()->reason(), Reason::NoTarget);
        m_errors->clear();
        QVERIFY(!QFileInfo::exists(m_home->path() + u"/unplugged"_s));
        // The new place has become another name of the old one.
        QVERIFY(QFile::link(source(), m_home->path() + u"/link"_s));
        settings()->setOldCacheDataPath(source());
        settings()->setCacheDataPath(m_home->path() + u"/link/"_s);
        dataMove()->resume();
        QVERIFY(!finish());
        QCOMPARE(dataMove()->reason(), Reason::SamePlace);
        QCOMPARE(settings()->movedDataInfo(), info);
        QCOMPARE(readMedia(source()), before);
    }

    // Its disk is unplugged, when a move begins. It goes on as soon as that is back.
    void oldPlaceThatIsNotThere()
    {
        const QString place = m_home->path() + u"/unplugged/"_s;
        settings()->setCacheDataPath(place);
        leaveApplication();
        start();
        QVERIFY(dataMove()->moveTo(target()));
        QVERIFY(!finish());
        QCOMPARE(takeError(), u"The old place is not there. Is its disk connected?"_s);
        QVERIFY(dataMove()->unfinished());
        QVERIFY(!QFileInfo::exists(place));
        QVERIFY(!dataMove()->moveTo(source()));
        QCOMPARE(dataMove()->reason(), Reason::LastUnfinished);
        fillMedia(place, 12);
        const MediaTree before = readMedia(place);
        dataMove()->retry();
        QVERIFY(finish());
        QCOMPARE(readMedia(target()), before);
        QVERIFY(QDir(place).isEmpty());
    }

    // What a kill leaves of the file that it has stopped, whatever comes then. Nothing else is
    // called so.
    void tracesOfAKill_data()
    {
        QTest::addColumn<QString>("choice");
        for (const char *choice : {"resume", "give up", "back", "wipe"})
            QTest::newRow(choice) << QString::fromLatin1(choice);
    }
    void tracesOfAKill()
    {
        QFETCH(QString, choice);
        MediaTree::write(source() + u"10001/photo/large"_s, QByteArray(40'000'000, 'x'));
        MediaTree::write(target() + u"10001/"_s + foreignFile, "foreign");
        QVERIFY(dataMove()->moveTo(target()));
        const QDir place(target() + u"10001"_s);
        const auto traces = [&] {
            QStringList names = place.entryList(QDir::Files | QDir::Hidden);
            names.removeAll(foreignFile);
            return names;
        };
        QVERIFY(QTest::qWaitFor([&] { return !traces().isEmpty(); }));
        const QString trace = place.filePath(traces().value(0));
        dataMove()->cancel();
        QVERIFY(!finish());
        MediaTree::write(trace, "part of it");
        if (choice == u"give up"_s)
            dataMove()->giveUp();
        else if (choice == u"wipe"_s)
            AccountManager::getInstance()->unlockApp(true, false);
        else if (choice == u"resume"_s)
            dataMove()->resume();
        else
            QVERIFY(dataMove()->moveTo(source()));
        QTRY_VERIFY(!dataMove()->unfinished());
        QTRY_VERIFY(traces().isEmpty());
        QVERIFY(QFileInfo::exists(place.filePath(foreignFile)));
    }

    // A power cut takes what was not synced. The file systems are two.
    void tellsTheDiskFirst()
    {
        fillMedia(source(), 14);
        const qsizetype count = readMedia(source()).files.size();
        QString storedPath;
        qsizetype storedMoved = -1;
        const QString directory = QFileInfo(settings()->globalStorage()->filePath()).path() + u'/';
        std::thread witness([&] {
            while (readMedia(source()).files.size() == count)
                QThread::usleep(200);
            PowerCut::copy(directory.toStdString(), m_home->path().toStdString() + '/');
            storage::GlobalStorageProvider store;
            store.setDirectory(m_home->path());
            store.open();
            for (const storage::SettingInfo &row : store.settingStorage()->allInfos()) {
                if (row.key == u"cache_data_path"_s)
                    storedPath = row.value.toString();
                if (row.key == u"moved_data_info"_s)
                    storedMoved = row.value.toByteArray().count("true");
            }
        });
        QVERIFY(dataMove()->moveTo(target()));
        const bool ok = finish();
        witness.join();
        QVERIFY(ok);
        QCOMPARE(storedPath, target());
        QVERIFY(storedMoved >= 0);
    }

    // Where a place of media leads that is stored.
    void storedPaths()
    {
        MediaTree::write(source() + u"10001/photo/sub/a.jpg"_s, "a");
        QVERIFY(dataMove()->moveTo(target()));
        QVERIFY(finish());
        const QString name = u"10001/photo/sub/a.jpg"_s;
        const auto restored = [](const QString &path, const QString &cachePath = {}) {
            return std::make_unique<FileData>(
                QVariantMap{{u"fileState"_s, int(BaseFile::Downloaded)},
                            {u"filePath"_s, path},
                            {u"cachePath"_s, cachePath}},
                FileData::ParseType::Source);
        };
        const QString missing = m_home->path() + u"/missing/"_s;
        for (const QString &path :
             {source() + name, target() + name, u"/home/2024/photo/x/"_s + name,
              u"C:\\Users\\me\\10001\\photo\\sub\\a.jpg"_s,
              u"\\\\host\\share\\"_s + QString(name).replace(u'/', u'\\')}) {
            QCOMPARE(restored(path)->filePath(), target() + name);
            QCOMPARE(restored(path)->fileState(), BaseFile::Downloaded);
            QCOMPARE(restored(missing, path)->filePath(), target() + name);
            const PhotoData photo(QVariantMap{{u"photoPath"_s, path}});
            QCOMPARE(photo.filePath(), target() + name);
            QVERIFY(photo.fileExist());
        }
        for (const QString &path :
             {missing + u"10001/photo/sub/b.jpg"_s, missing + u"10001/sub/a.jpg"_s, missing,
              missing + u"10001/photo/../photo/sub"_s + u"/../../sub/a.jpg"_s, QString(),
              missing + u"010001/photo/sub/a.jpg"_s}) {
            QCOMPARE(restored(path)->filePath(), QString());
            QCOMPARE(restored(path)->fileState(), BaseFile::Missing);
            const PhotoData photo(
                QVariantMap{{u"photoPath"_s, path}, {u"fileState"_s, int(BaseFile::Downloaded)}});
            QCOMPARE(photo.fileState(), BaseFile::Missing);
        }
        FileData record;
        record.update({{u"fileState"_s, int(BaseFile::Downloaded)}});
        QCOMPARE(record.fileState(), BaseFile::Missing);
    }

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

    void writesThatFail()
    {
        if (!QFileInfo(u"/bin/sh"_s).isExecutable())
            QSKIP("No shell to limit the size of files");
        const QString data = m_home->path() + u"/data/"_s + QCoreApplication::applicationName();
        fillMedia(data, 13);
        MediaTree::write(data + u"/10001/photo/large"_s, QByteArray(6'000'000, 'x'));
        const MediaTree before = readMedia(data);
        // 2 or 4 MB, as the shell counts.
        std::unique_ptr<QProcess> child =
            startChild(m_home->path(), u"trap '' XFSZ; ulimit -f 4096"_s);
        QCOMPARE(run(*child), 2);
        QVERIFY(QFileInfo::exists(data + u"/10001/photo/large"_s));
        QVERIFY(!QFileInfo::exists(target() + u"10001/photo/large"_s));
        QVERIFY(!QFileInfo::exists(target() + u"10001/.moving"_s));

        child = startChild(m_home->path());
        QCOMPARE(run(*child), 0);
        QCOMPARE(readMedia(target()), before);
        QVERIFY(readMedia(data).files.isEmpty());
    }

    void isKilledAtAnyMoment()
    {
        qint64 duration = 0; // microseconds from being ready to the end
        int kills = 0;
        int halfway = 0; // of these, with files at both places
        constexpr int rounds = 16;
        constexpr int wanted = rounds / 4;
        // A busy machine needs more kills until enough of them come in the midst.
        for (int round = 0; round < rounds || (halfway < wanted && round < 6 * rounds); ++round) {
            const QTemporaryDir home;
            const QString data = home.path() + u"/data/"_s + QCoreApplication::applicationName();
            const QString target = home.path() + u"/new"_s;
            QVERIFY(QDir().mkpath(target));
            fillMedia(data, quint32(100 + 10 * round), 3);
            MediaTree::fill(data + u"/10003/photo"_s, 3, quint32(round));
            const MediaTree before = readMedia(data);
            const QString film = u"10001/file/film.mp4"_s;
            MediaTree::write(data + u'/' + film, downloadPart(0));
            int written = 0; // of the download, as it was told
            const auto readAll = [&](QProcess &child) {
                for (const QByteArray &line : child.readAllStandardOutput().split('\n')) {
                    if (line.startsWith("wrote "))
                        written = std::max(written, line.mid(6).toInt());
                }
            };
            for (int start = round % 3; start < 3 && round > 0; ++start) {
                const std::unique_ptr<QProcess> child = startChild(home.path());
                QElapsedTimer timer;
                timer.start();
                const qint64 moment = QRandomGenerator::global()->bounded(duration);
                while (timer.nsecsElapsed() / 1000 < moment) { }
                child->kill();
                kills += run(*child) == -1;
                readAll(*child);
                halfway += readMedia(data).files.size() > 1 && readMedia(target).files.size() > 0;
            }
            const std::unique_ptr<QProcess> child = startChild(home.path());
            QElapsedTimer timer;
            timer.start();
            QCOMPARE(run(*child), 0);
            readAll(*child);
            if (round == 0)
                duration = timer.nsecsElapsed() / 1000;

            MediaTree after = readMedia(target);
            // A kill behind its copying leaves the beginning of it, too.
            QByteArray download;
            after.files.removeIf([&](auto file) {
                if (!file.key().startsWith(u"10001/file/film"_s))
                    return false;
                if (file.value().content.size() > download.size())
                    download = file.value().content;
                return true;
            });
            QVERIFY(download.size() / 8 > written);
            for (int i = 0; i < download.size() / 8; ++i)
                QCOMPARE(download.mid(8 * i, 8), downloadPart(i));
            QCOMPARE(after, before);
            QVERIFY(readMedia(data).files.isEmpty());
            QVERIFY(!QFileInfo::exists(target + u"/10003"_s));
            QVERIFY(!QFileInfo::exists(data + u"/10003/photo"_s));
        }
        qInfo("%d kills within %lld ms, %d of them halfway, 0 lost", kills, duration / 1000,
              halfway);
        QVERIFY(halfway >= wanted);
    }
};

int main(int argc, char *argv[])
{
    respectPermissions(argv);
    QGuiApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 3)
        return moveAsChild(arguments.at(2), arguments.at(1));
    PowerCut::install();
    TestAppDataMove test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_appdatamove.moc"
