#include "storage/database_p.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"

#include <QTemporaryDir>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

#include <atomic>
#include <future>
#include <thread>

using namespace storage;

/// One store, many threads.
class tst_StorageThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void saveAndRead();
    void closeUnderWay();
    void closeInCrashUnderWay();
};

void tst_StorageThreads::saveAndRead()
{
    constexpr int threads = 8;
    constexpr int rounds = 60;
    GlobalStorageProvider provider;
    QVERIFY(provider.open());
    SettingStorage &settings = *provider.settingStorage();
    QVERIFY(settings.removeAll());
    std::atomic_int failures = 0;
    {
        std::vector<std::jthread> workers;
        for (int thread = 0; thread < threads; ++thread) {
            workers.emplace_back([&, thread] {
                const QString own = QStringLiteral("own/%1").arg(thread);
                for (int i = 0; i < rounds; ++i) {
                    // Two rows that only ever change together.
                    const QVariant value = thread * rounds + i;
                    failures += !settings.apply({false,
                                                 {},
                                                 {{QStringLiteral("x"), value, {}},
                                                  {own, i, {}},
                                                  {QStringLiteral("y"), value, {}}}});
                    QVariant x;
                    QVariant y;
                    QVariant mine;
                    for (const SettingInfo &info : settings.allInfos()) {
                        if (info.key == QLatin1StringView("x"))
                            x = info.value;
                        else if (info.key == QLatin1StringView("y"))
                            y = info.value;
                        else if (info.key == own)
                            mine = info.value;
                    }
                    failures += x != y || !x.isValid() || mine != QVariant(i);
                }
            });
        }
    }
    QCOMPARE(failures.load(), 0);
    QCOMPARE(settings.allInfos().size(), threads + 2);
}

void tst_StorageThreads::closeUnderWay()
{
    // Closed and opened again under other threads' feet: each call works or fails as a whole.
    GlobalStorageProvider provider;
    QVERIFY(provider.open());
    QVERIFY(provider.settingStorage()->removeAll());
    std::atomic_int saved = 0;
    {
        std::vector<std::jthread> workers;
        for (int thread = 0; thread < 3; ++thread) {
            workers.emplace_back([&, thread] {
                for (int i = 0; i < 60; ++i)
                    saved += provider.settingStorage()->save(
                        {QStringLiteral("%1/%2").arg(thread).arg(i), i, {}});
            });
        }
        for (int i = 0; i < 10; ++i) {
            provider.close();
            QVERIFY(provider.open());
        }
    }
    QCOMPARE(provider.settingStorage()->allInfos().size(), saved.load());
}

void tst_StorageThreads::closeInCrashUnderWay()
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("x.db"));
    const SchemaSteps schema = {"CREATE TABLE t (v)"};
    Database database(schema);
    QVERIFY(database.open(path));
    std::promise<void> inside;
    std::promise<void> goOn;
    auto call = std::async(std::launch::async, [&] {
        return database.write("test", [&] {
            database.statement("INSERT INTO t VALUES (1)").exec();
            inside.set_value();
            goOn.get_future().wait();
        });
    });
    inside.get_future().wait();
    // The other thread holds the connection: none of this may wait for it.
    database.closeInCrash();
    QVERIFY(!database.isOpen());
    QVERIFY(!database.read("test", [] {}));
    QVERIFY(!database.write("test", [] {}));
    goOn.set_value();
    QVERIFY(call.get());

    Database next(schema);
    QVERIFY(next.open(path));
    QVERIFY(!next.recovered());
    int count = 0;
    QVERIFY(next.read("test", [&] {
        SQLite::Statement &rows = next.statement("SELECT count(*) FROM t");
        rows.executeStep();
        count = rows.getColumn(0).getInt();
    }));
    QCOMPARE(count, 1);
}

QTEST_GUILESS_MAIN(tst_StorageThreads)
#include "tst_storagethreads.moc"
