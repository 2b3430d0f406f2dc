#include "storage/database_p.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

#include <atomic>
#include <future>
#include <thread>

using namespace Qt::StringLiterals;

using namespace storage;

namespace
{

const SchemaSteps schema = {"CREATE TABLE t (v)"};

bool insert(Database &database)
{
    return database.write("test", [&] { database.statement("INSERT INTO t VALUES (1)").exec(); });
}

/// A write of one row on another thread, which the disk does not let go on before end().
class SlowWrite
{
public:
    explicit SlowWrite(Database &database)
        : m_result(std::async(std::launch::async, [&] {
              return database.write("test", [&] {
                  database.statement("INSERT INTO t VALUES (1)").exec();
                  m_inside.set_value();
                  m_goOn.get_future().wait();
              });
          }))
    {
        m_inside.get_future().wait();
    }
    bool end()
    {
        m_goOn.set_value();
        return m_result.get();
    }

private:
    std::promise<void> m_inside;
    std::promise<void> m_goOn;
    std::future<bool> m_result;
};

} // namespace

/// One store, many threads.
class tst_StorageThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Closed and opened again under the threads' feet: each call works or fails as a whole.
    void changesAndReadsAtOnce()
    {
        constexpr int threads = 8;
        constexpr int rounds = 60;
        GlobalStorageProvider provider;
        QVERIFY(provider.open());
        SettingStorage &settings = *provider.settingStorage();
        std::atomic_int failures = 0;
        std::atomic_int saved = 0;
        std::vector<std::jthread> workers;
        for (int thread = 0; thread < threads; ++thread) {
            workers.emplace_back([&, thread] {
                for (int i = 0; i < rounds; ++i) {
                    // Two rows that only ever change together.
                    const QVariant value = thread * rounds + i;
                    const QString own = u"own/%1/%2"_s.arg(thread).arg(i);
                    const bool done = settings.apply(
                        {false, {}, {{u"x"_s, value, {}}, {own, i, {}}, {u"y"_s, value, {}}}});
                    QHash<QString, QVariant> rows;
                    for (const SettingInfo &info : settings.allInfos())
                        rows.insert(info.key, info.value);
                    saved += int(done);
                    failures += int(rows[u"x"_s] != rows[u"y"_s]
                                    || (rows.size() > 2 && rows.contains(own) != done));
                }
            });
        }
        for (int i = 0; i < 10; ++i) {
            QTest::qSleep(20);
            provider.close();
            QVERIFY(provider.open());
        }
        workers.clear();
        QCOMPARE(failures.load(), 0);
        QVERIFY(saved > threads);
        QCOMPARE(settings.allInfos().size(), saved + 2);
    }

    void readsWhileAnotherWrites()
    {
        // A key is wanted now, whatever the disk does with the settings.
        QTemporaryDir directory;
        Database database(schema);
        for (int written = 0; written < 4; ++written) {
            if (written % 2 == 0) {
                database.close();
                QVERIFY(database.open(directory.filePath(u"x.db"_s)));
            }
            SlowWrite slow(database);
            QElapsedTimer timer;
            timer.start();
            const int count = countOf(database);
            const qint64 elapsed = timer.elapsed();
            QVERIFY(slow.end());
            QCOMPARE(count, written);
            QVERIFY2(elapsed < 1000, qPrintable(QString::number(elapsed)));
            QCOMPARE(countOf(database), written + 1);
        }
        // Neither connection keeps the log from going when the file is closed.
        database.close();
        QCOMPARE(QDir(directory.path()).entryList(QDir::Files), QStringList(u"x.db"_s));
    }

    void nothingGoesToTheNextFile()
    {
        // What waited while a file was closed and another one opened was meant for the first.
        QTemporaryDir directory;
        int refused = 0;
        for (int round = 0; round < 20; ++round) {
            Database database(schema);
            QVERIFY(database.open(directory.filePath(u"%1.db"_s.arg(round))));
            std::promise<void> called;
            SlowWrite first(database);
            auto second = std::async(std::launch::async, [&] {
                called.set_value();
                return insert(database);
            });
            called.get_future().wait();
            QTest::qSleep(5);
            QVERIFY(!database.close(QDeadlineTimer(0)));
            QVERIFY(first.end());
            QTRY_VERIFY(database.open(directory.filePath(u"next%1.db"_s.arg(round))));
            // On a busy machine a call may begin as late as now.
            const bool done = second.get();
            QCOMPARE(countOf(database), int(done));
            refused += !done;
        }
        QVERIFY(refused > 0);
    }

    void closeInCrashUnderWay()
    {
        QTemporaryDir directory;
        const QString path = directory.filePath(u"x.db"_s);
        Database database(schema);
        QVERIFY(database.open(path));
        SlowWrite call(database);
        // The other thread holds the connection: none of this may wait for it.
        database.closeInCrash();
        QVERIFY(!database.isOpen());
        QVERIFY(!database.read("test", [] {}));
        QVERIFY(!database.write("test", [] {}));
        QVERIFY(call.end());

        Database next(schema);
        QVERIFY(next.open(path));
        QVERIFY(!next.recovered());
        QCOMPARE(countOf(next), 1);
    }

private:
    static int countOf(Database &database)
    {
        int count = -1;
        database.read("test", [&] {
            SQLite::Statement &rows = database.statement("SELECT count(*) FROM t");
            rows.executeStep();
            count = rows.getColumn(0).getInt();
        });
        return count;
    }
};

QTEST_GUILESS_MAIN(tst_StorageThreads)
#include "tst_storagethreads.moc"
