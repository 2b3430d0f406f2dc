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
#include "support/stuckdisk.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSemaphore>
#include <QStandardPaths>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

#include <array>
#include <atomic>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

/// What the models are to those who do not care which it is: values by key.
struct Store {
    QString prefix; ///< in what rows() gives
    std::function<void(const QString &key, const QByteArray &value)> set;
    std::function<QByteArray(const QString &key)> get;
    std::function<bool()> flush;
};

template <typename Model>
Store storeOf(const QString &prefix, Model *model)
{
    return {prefix,
            [=](const QString &key, const QByteArray &value) { model->setValue(key, value, true); },
            [=](const QString &key) { return model->value(key, {}).toByteArray(); },
            [=] { return model->flush(); }};
}

} // namespace

/// The machine's settings, one account's, and its data ranges under many hands, and on disks that
/// fail.
class TestAccountThreads : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { StuckDisk::install(".db"); }
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
        const std::array stores = this->stores();
        std::atomic_int running = threads;
        std::atomic_int wrong = 0;
        {
            std::vector<std::jthread> workers;
            for (int thread = 0; thread < threads; ++thread) {
                workers.emplace_back([&, thread] {
                    for (int i = 1; i <= rounds; ++i) {
                        // Its own keys, read back at once, and some that all fight for, never torn.
                        const QString own = u"own/%1"_s.arg(thread);
                        for (const Store &store : stores) {
                            store.set(own, QByteArray::number(i));
                            wrong += store.get(own) != QByteArray::number(i);
                            store.set(u"shared"_s, QByteArray(20 + i % 3, char('a' + thread)));
                            const QByteArray shared = store.get(u"shared"_s);
                            wrong += shared.count(shared.at(0)) != shared.size();
                        }
                        // The same of every type, and one that comes and goes.
                        machine()->setPasscode(QString(20 + i % 3, QChar(u'a' + thread)));
                        const QString passcode = machine()->passcode();
                        wrong += passcode.count(passcode.at(0)) != passcode.size();
                        machine()->setImageEditTool({{u"size"_s, thread}});
                        machine()->setEmojiSkinIndex(u"\u270B"_s, thread);
                        const int tone = machine()->emojiSkinIndex(u"\u270B"_s);
                        wrong +=
                            tone < 0 || tone >= threads || machine()->imageEditTool().size() != 1;
                        machine()->setLargeEmoji(i % 3 == 0);
                        settings.setShowArchivedFolder(i % 2 == 0);
                        wrong += settings.voiceDefalutPlaySpeed() != 2.0;
                        ranges.saveDialogOffset(qint64(thread) << 32 | i);
                        ranges.saveMissRange(u"gone"_s, "x");
                        ranges.removeMissRange(u"gone"_s);
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
        const auto rows = this->rows();
        for (const Store &store : stores) {
            QStringList keys{u"shared"_s, u"gone"_s};
            for (int thread = 0; thread < threads; ++thread)
                keys.append(u"own/%1"_s.arg(thread));
            for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
                if (row.key().startsWith(store.prefix) && (!reload || store.prefix != u"account/"))
                    keys.append(row.key().mid(store.prefix.size()));
            }
            for (const QString &key : std::as_const(keys))
                QCOMPARE(rows.value(store.prefix + key), store.get(key));
        }
    }

    void closedUnderWriters()
    {
        const std::array stores = this->stores();
        std::atomic_bool stop = false;
        std::array<std::atomic_int, 4> written{};
        std::vector<std::jthread> workers;
        for (int thread = 0; thread < 4; ++thread) {
            workers.emplace_back([&, thread] {
                for (; !stop; ++written[thread]) {
                    for (const Store &store : stores)
                        store.set(QString::number(thread), QByteArray::number(written[thread]));
                }
            });
        }
        for (int i = 0; i < 10; ++i) {
            m_account->closeStorage();
            machine()->globalStorage()->close();
            QVERIFY(machine()->globalStorage()->open());
            QVERIFY(m_account->openStorage(false));
        }
        // What was changed while the store was closed is in memory only: each writes once more.
        for (std::atomic_int &count : written) {
            const int now = count;
            QTRY_VERIFY(count > now + 1);
        }
        stop = true;
        workers.clear();
        for (const Store &store : stores) {
            QVERIFY(store.flush());
            const auto rows = this->rows();
            for (const char key : {'0', '1', '2', '3'}) {
                QVERIFY(!store.get(QChar::fromLatin1(key)).isEmpty());
                QCOMPARE(rows[store.prefix + QChar::fromLatin1(key)],
                         store.get(QChar::fromLatin1(key)));
            }
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
        const QString messages = log.takeTexts().join(u'\n');
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
                      [=](const QString &key) { return ranges->missRange(key); },
                      [=] { return ranges->flush(); }}};
    }
    /// What another process finds in the stores.
    QMap<QString, QByteArray> rows()
    {
        QMap<QString, QByteArray> rows;
        const auto add = [&](const QString &prefix, const auto &infos) {
            for (const auto &info : infos)
                rows.insert(prefix + info.key, info.value.toByteArray());
        };
        storage::GlobalStorageProvider machine;
        storage::UserStorageProvider account;
        if (!machine.open() || !account.open(m_account->userStatusDataPath(), false))
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
