#include "account/datainfomodel.h"
#include "account/threadmanager.h"
#include "settings/accountsettingmodel.h"
#include "settings/appsettingmodel.h"
#include "storage/configstorage.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"
#include "support/fakeaccount.h"
#include "support/loglines.h"
#include "support/powercut.h"
#include "support/stuckdisk.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSemaphore>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

/// What the main thread does to stores that others use.
enum MainThread { Writes, Loads, Closes };

/// What the models are to those who do not care which it is: values by key.
struct Store {
    QString prefix; ///< in what rows() gives
    std::function<void(const QString &key, const QByteArray &value)> set;
    std::function<QByteArray(const QString &key)> get;
};

template <typename Model>
Store storeOf(const QString &prefix, Model *model)
{
    return {prefix,
            [=](const QString &key, const QByteArray &value) { model->setValue(key, value, true); },
            [=](const QString &key) { return model->value(key, {}).toByteArray(); }};
}

} // namespace

/// The machine's settings, one account's, and its data ranges under many hands, and on disks that
/// fail.
class TestAccountThreads : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        PowerCut::install();
        StuckDisk::install(".db");
    }
    void init()
    {
        QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)).removeRecursively();
        machine()->loadGlobalData();
        ThreadManager::getInstance()->init();
        m_account = std::make_unique<FakeAccount>();
        m_account->setAccountId(7);
        QVERIFY(m_account->openStorage(true));
    }
    void cleanup()
    {
        AccountManager::releaseInstance();
        m_account.reset();
        AppSettingModel::releaseInstance();
        ThreadManager::getInstance()->quitAll();
    }

    void eightThreads_data()
    {
        QTest::addColumn<MainThread>("mainThread");
        QTest::newRow("while the main thread writes") << Writes;
        QTest::newRow("while the main thread loads") << Loads;
        QTest::newRow("while the main thread closes") << Closes;
    }
    void eightThreads()
    {
        QFETCH(const MainThread, mainThread);
        constexpr int threads = 8;
        constexpr int rounds = 60;
        DataInfoModel &ranges = *m_account->dataInfoModel();
        AccountSettingModel &settings = *m_account->accountSettingModel();
        const std::array stores = this->stores();
        std::atomic_int behind = threads; // those with rounds to go
        std::atomic_bool over = false;
        std::atomic_int wrong = 0;
        const auto isTorn = [](const auto &text) {
            return std::ranges::adjacent_find(text, std::not_equal_to()) != text.cend();
        };
        const auto work = [&](int thread) {
            const QString own = u"own/%1"_s.arg(thread);
            bool isLast = false;
            // What was changed while a store was closed is in memory only: each writes once more.
            for (int i = 1; !isLast; ++i) {
                behind -= i == rounds;
                isLast = over;
                // Its own keys, read back at once, and some that all fight for, never torn.
                for (const Store &store : stores) {
                    store.set(own, QByteArray::number(i));
                    wrong += mainThread != Closes && store.get(own) != QByteArray::number(i);
                    store.set(u"shared"_s, QByteArray(20 + i % 3, char('a' + thread)));
                    wrong += isTorn(store.get(u"shared"_s));
                }
                // The same of every type, and one that comes and goes.
                machine()->setPasscode(QString(20 + i % 3, QChar(u'a' + thread)));
                wrong += isTorn(machine()->passcode());
                machine()->setImageEditTool({{u"size"_s, thread}});
                machine()->setEmojiSkinIndex(u"\u270B"_s, thread);
                const int tone = machine()->emojiSkinIndex(u"\u270B"_s);
                wrong += tone < 0 || tone >= threads || machine()->imageEditTool().size() != 1;
                machine()->setLargeEmoji(i % 3 == 0);
                settings.setShowArchivedFolder(i % 2 == 0);
                wrong += settings.voiceDefalutPlaySpeed() != 2.0;
                ranges.saveDialogOffset(qint64(thread) << 32 | i);
                ranges.saveMissRange(u"gone"_s, "x");
                ranges.removeMissRange(u"gone"_s);
            }
        };
        {
            std::vector<std::jthread> workers;
            const auto stop = qScopeGuard([&] { over = true; });
            for (int thread = 0; thread < threads; ++thread)
                workers.emplace_back(work, thread);
            for (int turn = 0; behind > 0 || turn < 10; ++turn) {
                if (mainThread == Writes) {
                    ranges.saveDialogOffset(-1);
                    settings.setLeftTabWidth(settings.leftTabWidth() + 1);
                    std::this_thread::yield();
                } else if (mainThread == Loads) {
                    ranges.loadLocalData(false);
                    settings.loadLocalData(false);
                } else {
                    m_account->closeStorage();
                    machine()->globalStorage()->close();
                    QVERIFY(machine()->globalStorage()->open());
                    QVERIFY(m_account->openStorage(false));
                }
            }
        }
        QCOMPARE(wrong.load(), 0);
        ThreadManager::getInstance()->quitAll();

        // What is stored is what was in memory last, for every key.
        const auto rows = this->rows();
        for (const Store &store : stores) {
            QStringList keys{u"shared"_s, u"gone"_s};
            for (int thread = 0; thread < threads; ++thread)
                keys.append(u"own/%1"_s.arg(thread));
            for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
                if (row.key().startsWith(store.prefix)
                    && (mainThread == Writes || store.prefix != u"account/"))
                    keys.append(row.key().mid(store.prefix.size()));
            }
            for (const QString &key : std::as_const(keys))
                QCOMPARE(rows.value(store.prefix + key), store.get(key));
        }
    }

    /// What is confirmed is on the disk; and what nobody asks for is, after a while.
    void powerCut_data()
    {
        QTest::addColumn<QString>("flushed");
        QTest::newRow("flushed in time") << u"in time"_s;
        QTest::newRow("flushed after it was written") << u"late"_s;
        QTest::newRow("never flushed, for a while") << u"never"_s;
    }
    void powerCut()
    {
        QFETCH(const QString, flushed);
        for (const Store &store : stores())
            std::thread([&] { store.set(u"key"_s, "value"); }).join();
        // What is there when the power fails now.
        const auto left = [this] {
            const QTemporaryDir copy;
            for (const QString &path :
                 {machine()->globalStorage()->filePath(), m_account->storage()->filePath()})
                PowerCut::copy(QFileInfo(path).path().toStdString() + '/',
                               copy.path().toStdString() + '/');
            return rows(copy.path());
        };
        if (flushed == u"never") {
            for (const Store &store : stores())
                QTRY_VERIFY_WITH_TIMEOUT(left().contains(store.prefix + u"key"_s), 20'000);
        } else if (flushed == u"late") {
            QTRY_VERIFY(rows().contains(u"ranges/key"_s));
            QVERIFY(m_account->dataInfoModel()->flush());
        } else {
            QVERIFY(m_account->dataInfoModel()->flush(QDeadlineTimer(5000)));
        }
        QVERIFY(left().contains(u"ranges/key"_s));
    }

    void storesThatCannotBeWritten_data()
    {
        QTest::addColumn<bool>("stuck");
        QTest::addColumn<QString>("left");
        QTest::addRow("exit, locked by another process") << false << u"exit"_s;
        QTest::addRow("exit, on a disk that no longer answers") << true << u"exit"_s;
        QTest::addRow("sign-out, on a disk that no longer answers") << true << u"sign-out"_s;
        QTest::addRow("another account, on a disk that no longer answers") << true << u"other"_s;
    }
    void storesThatCannotBeWritten()
    {
        QFETCH(const bool, stuck);
        QFETCH(const QString, left);
        m_account->setAuthorized(true);
        // In one process locks hold between connections as they do between processes.
        std::vector<std::unique_ptr<SQLite::Database>> others;
        std::optional<StuckDisk> disk;
        if (stuck)
            disk.emplace();
        for (const QString &path :
             {machine()->globalStorage()->filePath(), m_account->storage()->filePath()}) {
            if (stuck)
                continue;
            others.push_back(std::make_unique<SQLite::Database>(path.toStdString(),
                                                                SQLite::OPEN_READWRITE, 10'000));
            others.back()->exec("BEGIN EXCLUSIVE");
        }
        machine()->setSaveasPath(u"secret"_s);
        m_account->accountSettingModel()->setLastLocation(u"secret"_s);
        m_account->dataInfoModel()->saveMissRange(u"range"_s, "secret");
        LogLines log;
        const auto duration = [](const auto &step) {
            QElapsedTimer timer;
            timer.start();
            step();
            return timer.elapsed();
        };
        const qint64 ofAccount = duration([&] {
            if (left == u"exit")
                m_account.reset();
            else if (left == u"sign-out")
                m_account->logout(false);
            else {
                m_account->setAccountId(8);
                QVERIFY(!m_account->openStorage(true));
            }
        });
        QVERIFY2(ofAccount < 9000, qPrintable(QString::number(ofAccount)));
        if (left != u"exit")
            return;
        const qint64 ofSettings = duration(AppSettingModel::releaseInstance);
        const qint64 ofThreads = duration([] { ThreadManager::getInstance()->quitAll(); });
        const QString messages = log.takeTexts().join(u'\n');
        qInfo("Account: %lld ms, settings: %lld ms, threads: %lld ms", ofAccount, ofSettings,
              ofThreads);
        QVERIFY(ofSettings < 9000 && ofThreads < 15500);
        QVERIFY(!messages.contains(u"secret"));
        for (const char *key : {"saveas_path", "last_latlog", "range"})
            QVERIFY2(messages.contains(QLatin1StringView(key)), key);
    }

    void theExitWithThreadsThatDoNotEnd()
    {
        AccountManager *manager = AccountManager::getInstance();
        static QSemaphore hold;
        static QSemaphore reached;
        static QSemaphore left;
        const auto hang = [] {
            reached.release();
            hold.acquire();
            left.release();
        };
        // Left to the end of the process, as such threads are.
        QObject object;
        const std::unique_ptr<QThread> thread(manager->fileTransferThread());
        const std::unique_ptr<QThreadPool> pool(manager->getResetThreadPool());
        object.moveToThread(thread.get());
        QMetaObject::invokeMethod(&object, hang);
        pool->start(hang);
        reached.acquire(2);
        QElapsedTimer timer;
        timer.start();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"file transfer thread.*given up"_s));
        manager->waitForFinished();
        QVERIFY(timer.elapsed() < 12000);
        timer.start();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"reset pool.*given up"_s));
        AccountManager::releaseInstance();
        QVERIFY(timer.elapsed() < 9000);
        hold.release(2);
        left.acquire(2);
        QVERIFY(thread->wait());
    }

private:
    static AppSettingModel *machine() { return AppSettingModel::instance(); }
    std::array<Store, 3> stores()
    {
        DataInfoModel *ranges = m_account->dataInfoModel();
        return {storeOf(u"machine/"_s, machine()),
                storeOf(u"account/"_s, m_account->accountSettingModel()),
                Store{u"ranges/"_s,
                      [=](const QString &key, const QByteArray &value) {
                          ranges->saveMissRange(key, value);
                      },
                      [=](const QString &key) { return ranges->missRange(key); }}};
    }
    /// What another process finds in the stores, or in what is left of both in a directory.
    QMap<QString, QByteArray> rows(const QString &left = {})
    {
        QMap<QString, QByteArray> rows;
        const auto add = [&](const QString &prefix, const auto &infos) {
            for (const auto &info : infos)
                rows.insert(prefix + info.key, info.value.toByteArray());
        };
        storage::GlobalStorageProvider machine;
        storage::UserStorageProvider account;
        if (!left.isEmpty())
            machine.setDirectory(left);
        if (!machine.open()
            || !account.open(left.isEmpty() ? m_account->userStatusDataPath() : left, false))
            return rows;
        add(u"machine/"_s, machine.settingStorage()->allInfos());
        add(u"account/"_s, account.settingStorage()->allInfos());
        add(u"ranges/"_s, account.bufferConfigStorage()->allInfos());
        return rows;
    }
    std::unique_ptr<FakeAccount> m_account;
};

QTEST_GUILESS_MAIN(TestAccountThreads)
#include "tst_accountthreads.moc"
