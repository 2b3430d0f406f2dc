#include "storage/configstorage.h"
#include "storage/database_p.h"
#include "storage/globalstorageprovider.h"
#include "storage/keystorage.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"
#include "support/files.h"
#include "support/privacy.h"

#include <QDir>
#include <QDirIterator>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtEndian>
#include <QTest>

#include <sqlite3.h>
#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdio>
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

/// How many rows there may be at least and at most, once that was done to a file.
using Damage = std::function<std::pair<int, int>(QByteArray &)>;

constexpr int pageSize = 4096;
constexpr int rowCount = 3000;

const SchemaSteps schema = {"CREATE TABLE t (k PRIMARY KEY NOT NULL, v)"};

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

/// Page numbers, from 0, of the pages that hold rows of a table.
QList<int> rowPages(const QByteArray &bytes)
{
    QList<int> pages;
    for (int page = 1; page < bytes.size() / pageSize; ++page) {
        if (bytes.at(page * pageSize) == 0x0d)
            pages.append(page);
    }
    return pages;
}

/// How many rows are lost with the page.
int scratchPage(QByteArray &bytes, int page)
{
    const int rows = bytes.at(page * pageSize) == 0x0d
        ? qFromBigEndian<quint16>(bytes.constData() + page * pageSize + 3)
        : 0;
    bytes.replace(page * pageSize, pageSize, QByteArray(pageSize, '\xa5'));
    return rows;
}

constexpr int batchSize = 10;

/// A child that writes batches and says on its standard output which are saved.
int saveUntilKilled()
{
    GlobalStorageProvider provider;
    if (!provider.open())
        return 1;
    int batch = 0;
    for (;;) {
        SettingChanges changes;
        ++batch;
        for (int i = 0; i < batchSize; ++i)
            changes.saved.append({u"%1/%2"_s.arg(batch).arg(i), batch, QString(batch % 300, u'r')});
        if (!provider.settingStorage()->apply(changes))
            return 2;
        std::printf("%d\n", batch);
        std::fflush(stdout);
    }
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

    void setsDamagedFilesAside_data()
    {
        QTest::addColumn<Damage>("damage");
        QTest::addColumn<int>("torn"); // rows that may have lost their tail
        const auto row = [](const char *name, const Damage &damage, int torn = 0) {
            QTest::newRow(name) << damage << torn;
        };
        constexpr std::pair none(0, 0);
        constexpr std::pair all(rowCount, rowCount);
        // clang-format off
        row("rubbish", [=](auto &bytes) { bytes.fill('\x5a'); return none; });
        row("a short text", [=](auto &bytes) { bytes = "not a database"; return none; });
        row("cut in the middle", [](auto &bytes) { bytes.truncate(bytes.size() / pageSize / 2 * pageSize); return std::pair(rowCount / 3, rowCount); });
        row("cut inside a page", [](auto &bytes) { bytes.chop(pageSize / 2); return std::pair(rowCount - 45, rowCount); }, 1);
        row("cut inside the version", [=](auto &bytes) { bytes.truncate(60); bytes += QByteArrayView("\0\x20", 2); return none; });
        row("first page lost", [=](auto &bytes) { scratchPage(bytes, 0); return all; });
        row("header lost", [=](auto &bytes) { bytes.replace(0, 100, QByteArray(100, 0)); return all; });
        row("format of the schema lost", [=](auto &bytes) { bytes.replace(44, 4, QByteArray(4, '\xff')); return all; });
        // clang-format on
        row("first, last and others lost", [](auto &bytes) {
            const QList<int> pages = rowPages(bytes);
            int kept = rowCount;
            for (const qsizetype i : {qsizetype(0), qsizetype(5), qsizetype(20), qsizetype(21),
                                      qsizetype(40), pages.size() - 1})
                kept -= scratchPage(bytes, pages.at(i));
            return std::pair(kept, kept);
        });
        row("index lost", [=](auto &bytes) {
            for (int page = 1; page < bytes.size() / pageSize; ++page) {
                if (bytes.at(page * pageSize) == 0x0a || bytes.at(page * pageSize) == 0x02)
                    scratchPage(bytes, page);
            }
            return all;
        });
    }
    void setsDamagedFilesAside()
    {
        QFETCH(Damage, damage);
        QFETCH(int, torn);
        makeFile(rowCount);
        QByteArray bytes = contents(file());
        const auto [least, most] = damage(bytes);
        QVERIFY(write(file(), bytes));

        Database database(schema);
        QVERIFY(database.open(file()));
        QVERIFY(database.recovered());
        const int kept = number(database, "SELECT count(*) FROM t");
        QVERIFY2(kept >= least && kept <= most, qPrintable(QString::number(kept)));
        const int sound = number(database, countSoundRows);
        QVERIFY2(sound >= kept - torn, qPrintable(QString::number(sound)));
        QVERIFY(!setAside().isEmpty());
        QCOMPARE(contents(m_directory->filePath(setAside().constFirst())), bytes);
        QCOMPARE(QDir(m_directory->path()).entryList({u"*recovering*"_s}), QStringList());

        QVERIFY(insert(database, rowCount, rowCount + 1));
        database.close();
        QVERIFY(database.open(file()));
        QVERIFY(!database.recovered());
        QCOMPARE(number(database, countSoundRows), sound + 1);
    }

    void carriesRowsOfTheLog_data()
    {
        QTest::addColumn<bool>("header");
        QTest::addRow("a page of rows lost") << false;
        QTest::addRow("header lost") << true;
    }
    void carriesRowsOfTheLog()
    {
        QFETCH(bool, header);
        {
            Database database(schema);
            QVERIFY(database.open(file("whole.db")));
            QVERIFY(insert(database, 0, rowCount));
            database.close();
            QVERIFY(database.open(file("whole.db")));
            QVERIFY(insert(database, rowCount, rowCount + 10));
            // As a process that ends here leaves them.
            QVERIFY(QFile::copy(file("whole.db"), file()));
            QVERIFY(QFile::copy(file("whole.db-wal"), file("x.db-wal")));
        }
        QByteArray bytes = contents(file());
        const QByteArray log = contents(file("x.db-wal"));
        QVERIFY(!log.isEmpty());
        int lost = 0;
        if (header)
            bytes.replace(0, 100, QByteArray(100, 0));
        else
            lost = scratchPage(bytes, rowPages(bytes).at(3));
        QVERIFY(write(file(), bytes));

        Database database(schema);
        QVERIFY(database.open(file()));
        QVERIFY(database.recovered());
        QCOMPARE(number(database, countSoundRows), rowCount + 10 - lost);
        QCOMPARE(contents(m_directory->filePath(setAside().at(0))), bytes);
        QCOMPARE(contents(m_directory->filePath(setAside().filter(u"-wal"_s).value(0))), log);
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

    void completesAnInterruptedRecovery()
    {
        makeFile(5);
        QVERIFY(QFile::rename(file(), file("x.db-recovering")));
        Database database(schema);
        QVERIFY(database.open(file()));
        QCOMPARE(number(database, countSoundRows), 5);
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
    void refusesReadOnly_data()
    {
        QTest::addColumn<bool>("exists");
        QTest::addColumn<int>("directoryMode");
        QTest::addRow("a directory without the file") << false << 0500;
        QTest::addRow("directory and file") << true << 0500;
        QTest::addRow("the file") << true << 0700;
    }
    void refusesReadOnly()
    {
#ifdef Q_OS_UNIX
        QFETCH(bool, exists);
        QFETCH(int, directoryMode);
        // Nothing is read-only to root.
        constexpr uid_t somebody = 65534;
        const uid_t user = geteuid();
        if (user == 0) {
            QCOMPARE(chown(QFile::encodeName(m_directory->path()).constData(), somebody, gid_t(-1)),
                     0);
            QCOMPARE(seteuid(somebody), 0);
        }
        const auto again = qScopeGuard([user] { seteuid(user); });
        if (exists)
            makeFile(5);
        const QByteArray before = contents(file());
        const QByteArray name = QFile::encodeName(file());
        const QByteArray directory = QFile::encodeName(m_directory->path());
        ::chmod(name.constData(), 0400);
        ::chmod(directory.constData(), mode_t(directoryMode));
        Database database(schema);
        QVERIFY(!database.open(file()) && !database.isOpen());
        ::chmod(directory.constData(), 0700);
        QCOMPARE(contents(file()), before);
        QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files).size(), exists ? 1 : 0);

        // What an opening for reading left, when it was not refused.
        QVERIFY(write(file("x.db-shm"), {}));
        ::chmod(QByteArray(name + "-shm").constData(), 0400);
        ::chmod(name.constData(), 0600);
        QVERIFY(database.open(file()));
        QVERIFY(insert(database, 5, 6));
        QCOMPARE(number(database, countSoundRows), exists ? 6 : 1);
#else
        QSKIP("permissions are those of POSIX here");
#endif
    }

    void opensWithoutItsVersion_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<int>("rows");
        QTest::addRow("present schema") << QByteArray() << rowCount;
        QTest::addRow("older schema")
            << QByteArray("ALTER TABLE t DROP COLUMN n; DROP TABLE u") << rowCount;
        QTest::addRow("none of ours") << QByteArray("ALTER TABLE t ADD COLUMN odd") << rowCount;
        QTest::addRow("somebody else's") << QByteArray("DROP TABLE t") << 0;
    }
    void opensWithoutItsVersion()
    {
        QFETCH(QByteArray, before);
        QFETCH(int, rows);
        const SchemaSteps steps = {schema.front(),
                                   "ALTER TABLE t ADD COLUMN n DEFAULT 7; CREATE TABLE u (v)"};
        makeFile(rowCount);
        {
            Database database(steps);
            QVERIFY(database.open(file()));
        }
        SQLite::Database(file().toStdString(), SQLite::OPEN_READWRITE)
            .exec("PRAGMA user_version = 0; " + before.toStdString());
        for (int start = 0; start < 2; ++start) {
            Database database(steps);
            QVERIFY(database.open(file()));
            QCOMPARE(number(database, "PRAGMA user_version"), 2);
            QCOMPARE(number(database, countSoundRows), rows);
            QCOMPARE(number(database, "SELECT count(*) FROM u"), 0);
            const bool isForeign = before.contains("odd") || before.contains("DROP TABLE t");
            QCOMPARE(database.recovered(), isForeign && start == 0);
            QCOMPARE(setAside().isEmpty(), !isForeign);
        }
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
        const auto replaceSetting = [&] { return settings.save({u"key"_s, 1, {}}); };
        const auto saveConfig = [&] { return config.save({u"key"_s, secret}); };
        const auto replaceConfigs = [&] { return config.apply({true, {}, {{u"kept"_s, 1}}}); };
        const auto saveKey = [&] { return keys.save({u"chat"_s, u"id"_s, 1, secret}); };
        const std::pair<std::function<bool()>, std::function<bool()>> rows[] = {
            {saveSetting, [&] { return settings.removeAll(); }},
            {saveSetting, [&] { return replaceSetting() && settings.clearLog(); }},
            {saveConfig, replaceConfigs},
            {saveKey, [&] { return keys.removeAll(); }},
            {saveKey, [&] { return keys.remove(u"chat"_s, u"id"_s, 1); }},
        };
        for (const auto &[save, remove] : rows) {
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
        }
        // Nor of what a process removed that was killed then.
        QVERIFY(settings.save({u"key"_s, secret, {}}) && settings.remove(u"key"_s));
        QVERIFY(find());
        provider.closeInCrash();
        QVERIFY(UserStorageProvider().open(directory));
        QVERIFY(!find());
    }

    void lockedOrNewer()
    {
        Database database(schema);
        QVERIFY(database.open(file()));
        QVERIFY(insert(database, 0, 5));
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
        QVERIFY(database.open(file()));
        QVERIFY(!database.recovered());
        QVERIFY(insert(database, 5, 6));
        QCOMPARE(number(database, countSoundRows), 6);
        database.close();
        SQLite::Database(file().toStdString(), SQLite::OPEN_READWRITE)
            .exec("PRAGMA user_version = 2");
        const QByteArray before = contents(file());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"newer version"_s));
        QVERIFY(!database.open(file()) && !database.recovered());
        QCOMPARE(contents(file()), before);
        QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files).size(), 1);
    }

    void migrates()
    {
        const SchemaSteps second = {schema.front(),
                                    "ALTER TABLE t ADD COLUMN n DEFAULT 7;"
                                    "CREATE TABLE u (v)"};
        makeFile(rowCount);
        const QByteArray whole = contents(file());
        {
            // A step that fails half-way leaves the version before it.
            Database database({schema.front(), "CREATE TABLE u (v); CREATE TABLE t (v)"});
            QVERIFY(!database.open(file()));
            Database before(schema);
            QVERIFY(before.open(file()));
            QCOMPARE(number(before, "SELECT count(*) FROM sqlite_schema WHERE name = 'u'"), 0);
            QCOMPARE(number(before, countSoundRows), rowCount);
        }
        for (int round = 0; round < 2; ++round) {
            Database database(second);
            QVERIFY(database.open(file()));
            QCOMPARE(number(database, "PRAGMA user_version"), 2);
            QCOMPARE(number(database, "SELECT sum(n) FROM t"), 7 * rowCount);
            QCOMPARE(number(database, "SELECT count(*) FROM u"), 0);
        }
        // A damaged file of an older version.
        QByteArray bytes = whole;
        const int kept = rowCount - scratchPage(bytes, rowPages(bytes).at(4));
        QVERIFY(write(file(), bytes));
        Database database(second);
        QVERIFY(database.open(file()));
        QVERIFY(database.recovered());
        QCOMPARE(number(database, countSoundRows), kept);
        QCOMPARE(number(database, "SELECT sum(n) FROM t"), 7 * kept);
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
        makeFile(100);
        Database database(schema);
        QVERIFY(database.open(file()));
        int count = 100;
        for (int round = 0; round < 3; ++round) {
            // Room for the smallest of changes only, then for none.
            const qint64 log = QFileInfo(file("x.db-wal")).size();
            QVERIFY(!limited(log + (round == 0 ? 9000 : 0),
                             [&] { return insert(database, 10'000, 13'000); }));
            QVERIFY(!limited(log, [&] { return insert(database, 20'000, 23'000); }));
            QCOMPARE(number(database, countSoundRows), count);
            QVERIFY(insert(database, count, count + 10));
            count += 10;
        }
        database.close();
        Database fresh(schema);
        QVERIFY(!limited(0, [&] { return fresh.open(file("fresh.db")); }));
        QVERIFY(!QFile::exists(file("fresh.db")));

        // Without room for what a damaged file still holds it stays in its place.
        QByteArray bytes = contents(file());
        count -= scratchPage(bytes, rowPages(bytes).constLast());
        QVERIFY(write(file(), bytes));
        QVERIFY(!limited(4096, [&] { return database.open(file()); }));
        QCOMPARE(contents(file()), bytes);
        QCOMPARE(setAside(), QStringList());
        QVERIFY(database.open(file()));
        QVERIFY(database.recovered());
        QCOMPARE(number(database, countSoundRows), count);
#else
        QSKIP("no limit to the size of files here");
#endif
    }

    void killedWhileSaving()
    {
        constexpr int rounds = 12;
        for (int round = 0; round < rounds; ++round) {
            QProcess child;
            child.start(QCoreApplication::applicationFilePath(), {u"--save"_s});
            QVERIFY(child.waitForReadyRead());
            QTest::qSleep(2 * round);
            child.kill();
            QVERIFY(child.waitForFinished());
            QCOMPARE(child.exitStatus(), QProcess::CrashExit);
            const QByteArray output = child.readAllStandardOutput();
            // What follows the last line feed is half a number.
            const QList<QByteArray> lines = output.left(output.lastIndexOf('\n')).split('\n');
            const int acknowledged = lines.constLast().toInt();
            QVERIFY(acknowledged > 0);

            GlobalStorageProvider provider;
            QVERIFY(provider.open());
            QVERIFY(!provider.recovered());
            QMap<int, int> rows; // of each batch
            for (const SettingInfo &info : provider.settingStorage()->allInfos()) {
                ++rows[info.value.toInt()];
                QCOMPARE(info.remark.size(), info.value.toInt() % 300);
            }
            // All batches from the first on, each whole; at most the one under way is missing or there.
            QVERIFY(rows.size() == acknowledged || rows.size() == acknowledged + 1);
            QCOMPARE(rows.lastKey(), int(rows.size()));
            for (const int count : rows)
                QCOMPARE(count, batchSize);
            SQLite::Database other(provider.filePath().toStdString());
            QCOMPARE(other.execAndGet("PRAGMA integrity_check").getString(), std::string("ok"));
            QVERIFY(provider.settingStorage()->removeAll());
        }
    }
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (app.arguments().value(1) == QLatin1StringView("--save"))
        return saveUntilKilled();
    tst_Database test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_database.moc"
