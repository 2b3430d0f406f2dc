#include "storage/configstorage.h"
#include "storage/database_p.h"
#include "storage/globalstorageprovider.h"
#include "storage/keystorage.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"
#include "support/files.h"
#include "support/privacy.h"
#include "support/sequences.h"

#include <QDir>
#include <QDirIterator>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtEndian>
#include <QTest>

#include <sqlite3.h>
#include <SQLiteCpp/SQLiteCpp.h>

#include <functional>
#include <future>

#ifdef Q_OS_UNIX
#    include <csignal>
#    include <sys/resource.h>
#    include <sys/stat.h>
#    include <unistd.h>
#endif

using namespace Qt::StringLiterals;

using namespace storage;

namespace
{

constexpr int pageSize = 4096;
constexpr int rowCount = 1500;

const SchemaSteps schema = {"CREATE TABLE t (k PRIMARY KEY NOT NULL, v)"};
const SchemaSteps second = {schema.front(),
                            "ALTER TABLE t ADD COLUMN n DEFAULT 7; CREATE TABLE u (v)"};

int number(Database &database, const char *sql)
{
    int result = -1;
    database.read("test", [&] {
        SQLite::Statement &statement = database.statement(sql);
        statement.executeStep();
        result = statement.getColumn(0).getInt();
    });
    return result;
}

bool insert(Database &database, int from, int to)
{
    return database.write("test", [&] {
        for (int i = from; i < to; ++i) {
            SQLite::Statement &row = database.statement(
                "INSERT INTO t (k, v) VALUES (?, ? || ' ' || hex(zeroblob(40)))");
            // In an order of their own, so that the index pages lie among the others.
            row.bind(1, (i * 7919) % 100'003);
            row.bind(2, (i * 7919) % 100'003);
            row.exec();
        }
    });
}

constexpr const char *countSoundRows =
    "SELECT count(*) FROM t WHERE v = k || ' ' || hex(zeroblob(40))";

/// Numbers, from 0, of the pages of one of these kinds.
QList<int> pagesOf(const QByteArray &bytes, const QByteArray &kinds)
{
    QList<int> pages;
    for (int page = 1; page < bytes.size() / pageSize; ++page) {
        if (kinds.contains(bytes.at(page * pageSize)))
            pages.append(page);
    }
    return pages;
}
const QByteArray ofRows("\x0d");
const QByteArray ofIndex("\x0a\x02");

/// How many rows are lost with the page.
int rowsOf(const QByteArray &bytes, int page)
{
    return ofRows.contains(bytes.at(page * pageSize))
        ? qFromBigEndian<quint16>(bytes.constData() + page * pageSize + 3)
        : 0;
}
int scratchPage(QByteArray &bytes, int page)
{
    const int rows = rowsOf(bytes, page);
    bytes.replace(page * pageSize, pageSize, QByteArray(pageSize, '\xa5'));
    return rows;
}

/// How many rows are lost, and may be beside them.
struct Loss {
    int certain = 0;
    int possible = 0;
};

/// Damages a file. What is in its log, or the schema of an older one, is needed to read it then.
Loss damage(QByteArray &bytes, bool hasLog, bool isOld, Sequence &sequence)
{
    const QList<int> pages = pagesOf(bytes, ofRows);
    const int kind = sequence.below(isOld ? 2 : hasLog ? 4 : 8);
    sequence.note(u"damage %1"_s.arg(kind));
    Loss loss;
    switch (kind) {
    case 0: // the last one is in the log, too
        for (int left = 1 + sequence.below(6); left > 0; --left)
            loss.certain += scratchPage(bytes, pages[sequence.below(pages.size() - 1)]);
        if (!hasLog && sequence.chance(50))
            loss.certain += scratchPage(bytes, pages.last());
        if (!isOld && sequence.chance(30))
            scratchPage(bytes, 0);
        break;
    case 1:
        for (const int page : pagesOf(bytes, ofIndex))
            scratchPage(bytes, page);
        break;
    case 2:
        scratchPage(bytes, 0);
        break;
    case 3:
        bytes.replace(0, 100, QByteArray(100, 0));
        break;
    case 4: // the format of the schema
        bytes.replace(44, 4, QByteArray(4, '\xff'));
        break;
    case 5:
    case 6: { // cut between pages, or inside one
        const int end = 4 + sequence.below(bytes.size() / pageSize - 4);
        const int inside = kind == 5 ? 0 : 1 + sequence.below(pageSize - 1);
        for (const int page : pages)
            loss.certain += page >= end + int(inside > 0) ? rowsOf(bytes, page) : 0;
        loss.possible = inside > 0 ? rowsOf(bytes, end) : 0;
        bytes.truncate(end * pageSize + inside);
        break;
    }
    default: {
        const QByteArray others[] = {QByteArray(bytes.size(), '\x5a'), "not a database",
                                     bytes.first(60) + QByteArray("\0\x20", 2)};
        bytes = others[sequence.below(3)];
        loss.certain = rowCount;
    }
    }
    return loss;
}

} // namespace

/// What files, disks and other processes do to a database.
class tst_Database : public QObject
{
    Q_OBJECT

    QString file(const char *name = "x.db") const
    {
        return m_directory->filePath(QString::fromLatin1(name));
    }
    QStringList setAside() const
    {
        return QDir(m_directory->path()).entryList({u"*.damaged-*"_s}, QDir::Files);
    }
    void makeFile(int rows) const
    {
        Database database(schema);
        QVERIFY(database.open(file()));
        QVERIFY(insert(database, 0, rows));
    }
    std::unique_ptr<QTemporaryDir> m_directory;

private Q_SLOTS:
    void init() { m_directory = std::make_unique<QTemporaryDir>(); }

    /// Whatever a disk, or a process that was killed, left of it: each row that is not on a lost
    /// page is there, and a damaged file lies beside.
    void opensWhatIsLeft()
    {
        runSequences("Files", 120, 1, [this](Sequence &sequence) {
            sequence.next();
            init();
            const bool isOld = sequence.chance(30);
            const bool hasLog = sequence.chance(30);
            Database maker(isOld ? schema : second);
            QVERIFY(maker.open(file("made.db")) && insert(maker, 0, rowCount));
            maker.close();
            QVERIFY(maker.open(file("made.db")));
            QVERIFY(!hasLog || insert(maker, rowCount, rowCount + 10));
            QVERIFY(QFile::copy(file("made.db"), file()));
            QVERIFY(!hasLog || QFile::copy(file("made.db-wal"), file("x.db-wal")));
            maker.close();

            bool isDamaged = sequence.chance(70);
            Loss loss;
            QByteArray bytes = contents(file());
            const QByteArray log = contents(file("x.db-wal"));
            if (isDamaged) {
                loss = damage(bytes, hasLog, isOld, sequence);
                QVERIFY(write(file(), bytes));
            } else if (!hasLog) {
                const char *const changes[] = {
                    "PRAGMA user_version = 3", "PRAGMA user_version = 0",
                    "PRAGMA user_version = 0; ALTER TABLE t ADD COLUMN odd",
                    "PRAGMA user_version = 0; DROP TABLE t"};
                const int change = sequence.below(isOld ? 2 : 4);
                sequence.note(QString::fromLatin1(changes[change]));
                SQLite::Database(file().toStdString(), SQLite::OPEN_READWRITE)
                    .exec(changes[change]);
                bytes = contents(file());
                if (change == 0) {
                    QVERIFY(!Database(second).open(file()) && contents(file()) == bytes);
                    QCOMPARE(QDir(m_directory->path()).entryList({u"x.*"_s}).size(), 1);
                    return;
                }
                isDamaged = change > 1;
                loss.certain = change == 3 ? rowCount : 0;
                if (sequence.chance(20)) // as a recovery leaves it that is interrupted
                    QVERIFY(QFile::rename(file(), file("x.db-recovering")));
            }

            Database database(second);
            QVERIFY(database.open(file()));
            QCOMPARE(database.recovered(), isDamaged);
            const int kept = number(database, "SELECT count(*) FROM t");
            const int all = rowCount + (hasLog ? 10 : 0);
            QVERIFY2(kept <= all - loss.certain && kept >= all - loss.certain - loss.possible,
                     qPrintable(QString::number(kept)));
            const int torn = int(loss.possible > 0); // a row may be cut inside
            const int sound = number(database, countSoundRows);
            QVERIFY(sound >= kept - torn);
            const int sum = number(database, "SELECT ifnull(sum(n), 0) FROM t");
            QVERIFY(sum >= 7 * (kept - torn) && sum <= 7 * kept);
            QCOMPARE(number(database, "SELECT count(*) FROM u"), 0);
            QCOMPARE(number(database, "PRAGMA user_version"), 2);
            const QStringList aside = setAside();
            QCOMPARE(aside.isEmpty(), !isDamaged);
            if (isDamaged) {
                QCOMPARE(contents(m_directory->filePath(aside.constFirst())), bytes);
                QCOMPARE(contents(m_directory->filePath(aside.filter(u"-wal"_s).value(0))), log);
            }
            QCOMPARE(QDir(m_directory->path()).entryList({u"*recovering*"_s}), QStringList());

            QVERIFY(insert(database, all, all + 1));
            database.close();
            QVERIFY(database.open(file()) && !database.recovered());
            QCOMPARE(number(database, countSoundRows), sound + 1);
        });
    }

    void worksWithTwoAtOnce()
    {
        Database one(schema);
        Database other(schema);
        QVERIFY(one.open(file("one.db")) && other.open(file("other.db")));
        QVERIFY(one.write("test", [&] {
            QVERIFY(insert(other, 0, 5));
            one.statement("INSERT INTO t VALUES (1, 1)").exec();
        }));
        QCOMPARE(number(one, "SELECT count(*) FROM t"), 1);
        QCOMPARE(number(other, "SELECT count(*) FROM t"), 5);
    }

    void isForItsOwnerAlone()
    {
        const NoUmask noUmask;
        const QString home = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
        for (const bool damaged : {false, true}) {
            GlobalStorageProvider provider;
            QVERIFY(provider.open());
            QCOMPARE(provider.recovered(), damaged);
            QVERIFY(provider.settingStorage()->save({u"key"_s, 1, {}}));
            QVERIFY(QFile::exists(provider.filePath() + u"-wal"_s));
            QCOMPARE(openToOthers(home), QStringList());
            QCOMPARE(openToChildren(home), QStringList());
            // As an earlier version left them, with a log that goes on.
            const QByteArray bytes = contents(provider.filePath() + u"-wal"_s);
            provider.close();
            QVERIFY(write(provider.filePath() + u"-wal"_s, bytes));
            QVERIFY(write(provider.filePath(), "rubbish"));
            for (QDirIterator file(home, QDir::Files); file.hasNext();)
                QFile::setPermissions(file.next(), everybody);
            QFile::setPermissions(home, everybody);
        }
        QVERIFY(QDir(home).removeRecursively());
        const QString foreign = m_directory->filePath(u"deep/below"_s);
        QVERIFY(QFile::setPermissions(m_directory->path(), everybody));
        Database database(schema);
        QVERIFY(database.open(foreign + u"/x.db"_s));
        // What was there before is not the application's.
        QCOMPARE(openToOthers(m_directory->path()), QStringList(m_directory->path()));
    }

    void refusesBadPaths()
    {
        QVERIFY(QDir(m_directory->path()).mkdir(u"directory"_s));
        QVERIFY(write(file("file"), "something"));
        QStringList paths{file("directory"), file("file/x.db")};
#ifdef Q_OS_LINUX
        QCOMPARE(mkfifo(QFile::encodeName(file("pipe")).constData(), 0600), 0);
        paths << file("pipe") << u"/proc/none/x.db"_s << u"/proc/version"_s;
#endif
        for (const QString &path : paths) {
            Database database(schema);
            QTest::ignoreMessage(QtWarningMsg,
                                 QRegularExpression(u"cannot open "_s
                                                    + QRegularExpression::escape(path)
                                                    + u": .+"_s));
            QVERIFY(!database.open(path) && !database.isOpen());
        }
        QCOMPARE(contents(file("file")), QByteArray("something"));
        QCOMPARE(
            QDir(m_directory->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 2);
    }
    void refusesReadOnly()
    {
#ifdef Q_OS_UNIX
        // Nothing is read-only to root.
        constexpr uid_t somebody = 65534;
        const uid_t user = geteuid();
        const QByteArray directory = QFile::encodeName(m_directory->path());
        QVERIFY(
            user != 0
            || (chown(directory.constData(), somebody, gid_t(-1)) == 0 && seteuid(somebody) == 0));
        const auto again = qScopeGuard([user] { seteuid(user); });
        const QByteArray name = QFile::encodeName(file());
        Database database(schema);
        int rows = 0; // at first there is no file
        for (const mode_t mode : {0500, 0500, 0700}) {
            const QByteArray before = contents(file());
            ::chmod(name.constData(), 0400);
            ::chmod(directory.constData(), mode);
            QVERIFY(!database.open(file()) && !database.isOpen());
            ::chmod(directory.constData(), 0700);
            QCOMPARE(contents(file()), before);
            QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files).size(), int(rows > 0));

            // What an opening for reading left, when it was not refused.
            QVERIFY(write(file("x.db-shm"), {}));
            ::chmod(QByteArray(name + "-shm").constData(), 0400);
            ::chmod(name.constData(), 0600);
            QVERIFY(database.open(file()) && insert(database, rows, rows + 1));
            QCOMPARE(number(database, countSoundRows), ++rows);
            database.close();
        }
#else
        QSKIP("permissions are those of POSIX here");
#endif
    }

    void triesAgain()
    {
        // A disk that is there a moment late costs nothing that is set until then.
        GlobalStorageProvider provider;
        provider.setDirectory(m_directory->filePath(u"late"_s));
        QVERIFY(write(m_directory->filePath(u"late"_s), {}));
        QVERIFY(!provider.open());
        QVERIFY(!provider.settingStorage()->save({u"key"_s, 1, {}}));
        QVERIFY(QFile::remove(m_directory->filePath(u"late"_s)));
        // But not in a crash.
        GlobalStorageProvider::closeAllInCrash();
        QTest::qSleep(2 * Database::retryMs);
        QVERIFY(!provider.settingStorage()->save({u"key"_s, 1, {}}));
        QVERIFY(write(m_directory->filePath(u"late"_s), {}));
        QVERIFY(!provider.open());
        QVERIFY(QFile::remove(m_directory->filePath(u"late"_s)));
        QTRY_VERIFY(provider.settingStorage()->save({u"key"_s, 2, {}}));
        QVERIFY(provider.isOpen());
        provider.close();
        QVERIFY(!provider.settingStorage()->save({u"key"_s, 3, {}}));
        QVERIFY(provider.open());
        QCOMPARE(provider.settingStorage()->allInfos().value(0).value, QVariant(2));
    }

    void leavesNothingOfWhatWasRemoved()
    {
        // As where SQLite is built to leave it.
        const auto plain = [](sqlite3 *connection, char **, const sqlite3_api_routines *) {
            return sqlite3_exec(connection, "PRAGMA secure_delete = OFF", nullptr, nullptr,
                                nullptr);
        };
        const auto entry = reinterpret_cast<void (*)()>(
            static_cast<int (*)(sqlite3 *, char **, const sqlite3_api_routines *)>(plain));
        sqlite3_auto_extension(entry);
        const auto usual = qScopeGuard([entry] { sqlite3_cancel_auto_extension(entry); });
        const QByteArray secret("the spare key lies under the third flower pot");
        const QString directory = m_directory->filePath(u"7"_s);
        const auto find = [&] {
            QByteArray all;
            for (QDirIterator it(directory, QDir::Files); it.hasNext();)
                all += contents(it.next());
            return all.contains(secret);
        };
        UserStorageProvider provider;
        QVERIFY(provider.open(directory));
        SettingStorage &settings = *provider.settingStorage();
        ConfigStorage &config = *provider.bufferConfigStorage();
        KeyStorage &keys = *provider.keyStorage();
        const auto saveSetting = [&] { return settings.save({u"key"_s, secret, {}}); };
        const auto saveKey = [&] { return keys.save({u"chat"_s, u"id"_s, 1, secret}); };
        const auto check = [&](const auto &save, const auto &remove) {
            // In the log, and in the file itself.
            for (const bool restart : {false, true}) {
                QVERIFY(save());
                if (restart) {
                    provider.close();
                    QVERIFY(provider.open(directory));
                }
                QVERIFY(find());
                QVERIFY(remove());
                QVERIFY(!find());
            }
        };
        check(saveSetting, [&] { return settings.removeAll(); });
        check(saveSetting, [&] { return settings.save({u"key"_s, 1, {}}) && settings.clearLog(); });
        check(
            [&] {
                return config.save({u"key"_s, secret});
            },
            [&] {
                return config.apply({true, {}, {{u"kept"_s, 1}}});
            });
        check(saveKey, [&] { return keys.removeAll(); });
        check(saveKey, [&] { return keys.remove(u"chat"_s, u"id"_s, 1); });
        // Nor of what a process removed that was killed then.
        QVERIFY(settings.save({u"key"_s, secret, {}}) && settings.remove(u"key"_s));
        QVERIFY(find());
        provider.closeInCrash();
        QVERIFY(UserStorageProvider().open(directory));
        QVERIFY(!find());
    }

    void locked()
    {
        Database database(schema);
        QVERIFY(database.open(file()) && insert(database, 0, 5));
        {
            SQLite::Database other(file().toStdString(), SQLite::OPEN_READWRITE);
            SQLite::Transaction lock(other, SQLite::TransactionBehavior::IMMEDIATE);
            Database second(schema);
            auto opened = std::async(std::launch::async, [&] { return second.open(file()); });
            QVERIFY(!insert(database, 5, 6));
            QCOMPARE(number(database, countSoundRows), 5); // reading goes on
            QVERIFY(!opened.get());
            database.close();
        }
        QVERIFY(database.open(file()) && !database.recovered());
        QVERIFY(insert(database, 5, 6));
        QCOMPARE(number(database, countSoundRows), 6);
    }

    void aStepThatFailsLeavesTheVersionBeforeIt()
    {
        makeFile(5);
        Database database({schema.front(), "CREATE TABLE u (v); CREATE TABLE t (v)"});
        QVERIFY(!database.open(file()));
        Database before(schema);
        QVERIFY(before.open(file()));
        QCOMPARE(number(before, "SELECT count(*) FROM sqlite_schema WHERE name = 'u'"), 0);
        QCOMPARE(number(before, countSoundRows), 5);
    }

    void fullDisk()
    {
#ifdef Q_OS_UNIX
        // Past the limit a write fails half-way, as on a disk without space.
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit usual;
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &usual), 0);
        const auto limited = [&](qint64 bytes, const std::function<bool()> &action) {
            const rlimit limit{rlim_t(bytes), usual.rlim_max};
            const bool result = setrlimit(RLIMIT_FSIZE, &limit) == 0 && action();
            return setrlimit(RLIMIT_FSIZE, &usual) == 0 && result;
        };
        makeFile(110);
        Database database(schema);
        QVERIFY(database.open(file()));
        const qint64 log = QFileInfo(file("x.db-wal")).size();
        for (const int room : {9000, 0}) {
            QVERIFY(!limited(log + room, [&] { return insert(database, 10'000, 13'000); }));
            QCOMPARE(number(database, countSoundRows), 110);
        }
        database.close();

        // Without room for what a damaged file still holds it stays in its place.
        QByteArray bytes = contents(file());
        const int lost = scratchPage(bytes, pagesOf(bytes, ofRows).constLast());
        QVERIFY(write(file(), bytes));
        QVERIFY(!limited(4096, [&] { return database.open(file()); }));
        QCOMPARE(contents(file()), bytes);
        QCOMPARE(setAside(), QStringList());
        QVERIFY(database.open(file()) && database.recovered());
        QCOMPARE(number(database, countSoundRows), 110 - lost);
#else
        QSKIP("no limit to the size of files here");
#endif
    }
};

QTEST_GUILESS_MAIN(tst_Database)
#include "tst_database.moc"
