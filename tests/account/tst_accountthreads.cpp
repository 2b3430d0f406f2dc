#include "account/threadmanager.h"
#include "dialog/datainfomodel.h"
#include "settings/accountsettingmodel.h"
#include "settings/appsettingmodel.h"
#include "storage/configstorage.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"
#include "support/fakeaccount.h"
#include "support/stuckdisk.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSemaphore>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

#include <array>
#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

/// One account's settings and data ranges under many hands.
class TestAccountThreads : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { StuckDisk::install(".db"); }
    void init()
    {
        AppSettingModel::instance()->loadGlobalData();
        ThreadManager::getInstance()->init();
        m_account = std::make_unique<FakeAccount>();
        m_account->setAccountId(7);
        QVERIFY(m_account->openStorage(true));
    }
    void cleanup()
    {
        m_account.reset();
        AppSettingModel::releaseInstance();
        ThreadManager::getInstance()->quitAll();
    }

    void eightThreads_data()
    {
        QTest::addColumn<bool>("reload");
        QTest::newRow("while the main thread writes") << false;
        QTest::newRow("while the main thread loads") << true;
    }
    void eightThreads()
    {
        QFETCH(const bool, reload);
        constexpr int threads = 8;
        constexpr int rounds = 60;
        DataInfoModel &ranges = *m_account->dataInfoModel();
        AccountSettingModel &settings = *m_account->accountSettingModel();
        std::atomic_int running = threads;
        std::atomic_int wrong = 0;
        {
            std::vector<std::jthread> workers;
            for (int thread = 0; thread < threads; ++thread) {
                workers.emplace_back([&, thread] {
                    const QString own = u"own/%1"_s.arg(thread);
                    for (int i = 1; i <= rounds; ++i) {
                        // Its own keys, read back at once ...
                        ranges.saveMissRange(own, QByteArray::number(i));
                        wrong += ranges.missRange(own) != QByteArray::number(i);
                        settings.setValue(own, i, true);
                        // ... some that all fight for, never torn ...
                        settings.setLastLocation(QString(20 + i % 3, QChar(u'a' + thread)));
                        const QString location = settings.lastLocation();
                        wrong += location.count(location.at(0)) != location.size();
                        settings.setShowArchivedFolder(i % 2 == 0);
                        ranges.saveDialogOffset(qint64(thread) << 32 | i);
                        ranges.saveArchiveDialogs(QByteArray(i, char('a' + thread)));
                        const QByteArray archived = ranges.archiveDialogs();
                        wrong += archived.count(archived.at(0)) != archived.size();
                        // ... and one that comes and goes.
                        ranges.saveMissRange(u"shared"_s, "x");
                        ranges.removeMissRange(u"shared"_s);
                        wrong += settings.voiceDefalutPlaySpeed() != 2.0;
                    }
                    --running;
                });
            }
            while (running > 0) {
                if (reload) {
                    ranges.loadLocalData(false);
                    settings.loadLocalData(false);
                } else {
                    ranges.saveDialogOffset(-1);
                    settings.setLeftTabWidth(settings.leftTabWidth() + 1);
                    std::this_thread::yield();
                }
            }
        }
        QCOMPARE(wrong.load(), 0);
        ThreadManager::getInstance()->quitAll();

        // What is stored is what was in memory last, for every key.
        storage::UserStorageProvider provider;
        QVERIFY(provider.open(m_account->userStatusDataPath(), false));
        QHash<QString, QVariant> rows;
        for (const storage::SettingInfo &info : provider.settingStorage()->allInfos())
            rows.insert(info.key, info.value);
        const storage::ConfigStorage &configuration = *provider.bufferConfigStorage();
        for (int thread = 0; thread < threads; ++thread) {
            const QString own = u"own/%1"_s.arg(thread);
            QCOMPARE(ranges.missRange(own), QByteArray::number(rounds));
            QCOMPARE(configuration.value(own), QByteArray::number(rounds));
            QCOMPARE(settings.getValue(own, {}), rounds);
            QCOMPARE(rows[own], rounds);
        }
        QCOMPARE(rows[u"last_latlog"_s], settings.lastLocation());
        QCOMPARE(rows[u"show_archived_folder"_s], settings.showArchivedFolder());
        QCOMPARE(configuration.value(u"dialog_offset"_s), ranges.dialogOffset());
        QCOMPARE(configuration.value(u"archived_dialogs"_s), ranges.archiveDialogs());
        QCOMPARE(configuration.value(u"shared"_s).toByteArray(), ranges.missRange(u"shared"_s));
        if (!reload)
            QCOMPARE(rows[u"left_tab_width"_s], settings.leftTabWidth());
    }

    void closedUnderWriters()
    {
        DataInfoModel &ranges = *m_account->dataInfoModel();
        std::atomic_bool stop = false;
        std::array<std::atomic_int, 4> written{};
        std::vector<std::jthread> workers;
        for (int thread = 0; thread < 4; ++thread) {
            workers.emplace_back([&, thread] {
                for (; !stop; ++written[thread])
                    ranges.saveMissRange(u"k%1"_s.arg(thread), QByteArray::number(written[thread]));
            });
        }
        for (int i = 0; i < 10; ++i) {
            m_account->closeStorage();
            QVERIFY(m_account->openStorage(false));
        }
        // What was changed while the store was closed is in memory only: each writes once more.
        for (std::atomic_int &count : written) {
            const int now = count;
            QTRY_VERIFY(count > now + 1);
        }
        stop = true;
        workers.clear();
        QVERIFY(ranges.flush());
        for (int thread = 0; thread < 4; ++thread) {
            const QString key = u"k%1"_s.arg(thread);
            QVERIFY(!ranges.missRange(key).isEmpty());
            QCOMPARE(m_account->storage()->bufferConfigStorage()->value(key),
                     ranges.missRange(key));
        }
    }

    void theExitWithStoresThatCannotBeWritten_data()
    {
        QTest::addColumn<bool>("stuck");
        QTest::addRow("locked by another process") << false;
        QTest::addRow("on a disk that no longer answers") << true;
    }
    void theExitWithStoresThatCannotBeWritten()
    {
        QFETCH(const bool, stuck);
        // In one process locks hold between connections as they do between processes.
        std::vector<std::unique_ptr<SQLite::Database>> others;
        std::optional<StuckDisk> disk;
        if (stuck)
            disk.emplace();
        for (const QString &path : {AppSettingModel::instance()->globalStorage()->filePath(),
                                    m_account->storage()->filePath()}) {
            if (stuck)
                continue;
            others.push_back(std::make_unique<SQLite::Database>(path.toStdString(),
                                                                SQLite::OPEN_READWRITE, 10'000));
            others.back()->exec("BEGIN EXCLUSIVE");
        }
        AppSettingModel::instance()->setSaveasPath(u"secret"_s);
        m_account->accountSettingModel()->setLastLocation(u"secret"_s);
        m_account->dataInfoModel()->saveMissRange(u"range"_s, "secret");
        messages.clear();
        const QtMessageHandler before = qInstallMessageHandler(collect);
        QElapsedTimer timer;
        std::array<qint64, 3> took{};
        const std::array<std::function<void()>, 3> steps{
            [this] { m_account.reset(); }, AppSettingModel::releaseInstance,
            [] { ThreadManager::getInstance()->quitAll(); }};
        for (std::size_t i = 0; i < steps.size(); ++i) {
            timer.start();
            steps[i]();
            took[i] = timer.elapsed();
        }
        qInstallMessageHandler(before);
        qInfo("An account: %lld ms, the settings: %lld ms, the threads: %lld ms", took[0], took[1],
              took[2]);
        QVERIFY(took[0] < 5500 && took[1] < 5500 && took[2] < 12500);
        QVERIFY(!messages.contains(u"secret"));
        for (const char *key : {"saveas_path", "last_latlog", "range"})
            QVERIFY2(messages.contains(QLatin1StringView(key)), key);
        disk.reset();
        others.clear();
    }

    void theExitWithThreadsThatDoNotEnd()
    {
        AccountManager *manager = AccountManager::getInstance();
        // Left to the end of the process, as such threads are.
        static QSemaphore hold;
        static QSemaphore reached;
        static QSemaphore left;
        const auto hang = [] {
            reached.release();
            hold.acquire();
            left.release();
        };
        auto *object = new QObject;
        QThread *thread = manager->fileTransferThread();
        QThreadPool *pool = manager->getResetThreadPool();
        object->moveToThread(thread);
        QMetaObject::invokeMethod(object, hang);
        pool->start(hang);
        reached.acquire(2);
        QElapsedTimer timer;
        timer.start();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"file transfer thread.*given up"_s));
        manager->waitForFinished();
        QVERIFY(timer.elapsed() < 7500);
        timer.start();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"reset pool.*given up"_s));
        AccountManager::releaseInstance();
        QVERIFY(timer.elapsed() < 4500);
        hold.release(2);
        left.acquire(2);
        QVERIFY(thread->wait());
        delete object;
        delete thread;
        delete pool;
    }

private:
    static void collect(QtMsgType, const QMessageLogContext &, const QString &text)
    {
        static std::mutex mutex;
        const std::lock_guard lock(mutex);
        messages += text + u'\n';
    }

    static inline QString messages;
    std::unique_ptr<FakeAccount> m_account;
};

QTEST_GUILESS_MAIN(TestAccountThreads)
#include "tst_accountthreads.moc"
