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
        AppSettingModel &machine = *AppSettingModel::instance();
        const std::array stores = this->stores();
        std::atomic_int running = threads;
        std::atomic_int wrong = 0;
        {
            std::vector<std::jthread> workers;
            for (int thread = 0; thread < threads; ++thread) {
                workers.emplace_back([&, thread] {
                    for (int i = 1; i <= rounds; ++i) {
                        // Its own keys, read back at once ...
                        const QString own = u"own/%1"_s.arg(thread);
                        for (const Store &store : stores) {
                            store.set(own, QByteArray::number(i));
                            wrong += store.get(own) != QByteArray::number(i);
                        }
                        // ... some that all fight for, never torn ...
                        const QString text(20 + i % 3, QChar(u'a' + thread));
                        machine.setPasscode(text);
                        settings.setLastLocation(text);
                        ranges.saveArchiveDialogs(text.toUtf8());
                        for (const QByteArray &found :
                             {machine.passcode().toUtf8(), settings.lastLocation().toUtf8(),
                              ranges.archiveDialogs()})
                            wrong += found.count(found.at(0)) != found.size();
                        machine.setImageEditTool({{u"size"_s, thread}});
                        machine.setEmojiSkinIndex(u"\u270B"_s, thread);
                        const int tone = machine.emojiSkinIndex(u"\u270B"_s);
                        wrong += tone < 0 || tone >= threads || machine.imageEditTool().size() != 1;
                        machine.setLargeEmoji(i % 3 == 0);
                        settings.setShowArchivedFolder(i % 2 == 0);
                        ranges.saveDialogOffset(qint64(thread) << 32 | i);
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
        QStringList keys{u"passcode"_s,
                         u"emoji_skin_indexes"_s,
                         u"large_emoji"_s,
                         u"last_latlog"_s,
                         u"show_archived_folder"_s,
                         u"archived_dialogs"_s,
                         u"dialog_offset"_s,
                         u"shared"_s};
        for (int thread = 0; thread < threads; ++thread)
            keys.append(u"own/%1"_s.arg(thread));
        if (!reload)
            keys.append(u"left_tab_width"_s);
        for (const Store &store : stores) {
            for (const QString &key : std::as_const(keys))
                QCOMPARE(store.row(key), store.get(key));
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
            AppSettingModel::instance()->globalStorage()->close();
            QVERIFY(AppSettingModel::instance()->globalStorage()->open());
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
            for (int thread = 0; thread < 4; ++thread) {
                const QString key = QString::number(thread);
                QVERIFY(store.get(key).isValid());
                QCOMPARE(store.row(key), store.get(key));
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
    /// What the models are to those who do not care which it is: rows by key.
    struct Store {
        std::function<void(const QString &key, const QByteArray &value)> set;
        std::function<QVariant(const QString &key)> get;
        std::function<QVariant(const QString &key)> row; ///< as another process finds it
        std::function<bool()> flush;
    };
    std::array<Store, 3> stores()
    {
        const auto rowOf = [](const auto &storage, const QString &key) {
            for (const auto &info : storage.allInfos()) {
                if (info.key == key)
                    return info.value;
            }
            return QVariant();
        };
        const auto ofSettings = [](SettingModelBase *model, auto row, auto flush) {
            return Store{[model](const QString &key, const QByteArray &value) {
                             QMetaObject::invokeMethod(model, "setValue", Qt::DirectConnection,
                                                       Q_ARG(QString, key), Q_ARG(QVariant, value),
                                                       Q_ARG(bool, true));
                         },
                         [model](const QString &key) { return model->value(key, {}); }, row, flush};
        };
        AccountSettingModel *settings = m_account->accountSettingModel();
        DataInfoModel *ranges = m_account->dataInfoModel();
        const QString path = m_account->userStatusDataPath();
        return {ofSettings(
                    AppSettingModel::instance(),
                    [rowOf](const QString &key) {
                        storage::GlobalStorageProvider found;
                        found.open();
                        return rowOf(*found.settingStorage(), key);
                    },
                    [] { return AppSettingModel::instance()->flush(); }),
                ofSettings(
                    settings,
                    [=](const QString &key) {
                        storage::UserStorageProvider found;
                        found.open(path, false);
                        return rowOf(*found.settingStorage(), key);
                    },
                    [settings] { return settings->flush(); }),
                Store{[ranges](const QString &key, const QByteArray &value) {
                          ranges->saveMissRange(key, value);
                      },
                      [ranges](const QString &key) {
                          const QByteArray range = ranges->missRange(key);
                          return range.isEmpty() ? QVariant() : range;
                      },
                      [=](const QString &key) {
                          storage::UserStorageProvider found;
                          found.open(path, false);
                          const QVariant value = found.bufferConfigStorage()->value(key);
                          return value.isValid() ? value.toByteArray() : value;
                      },
                      [ranges] { return ranges->flush(); }}};
    }

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
