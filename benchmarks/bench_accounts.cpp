#include "account/accountmanager.h"
#include "account/datainfomodel.h"
#include "account/threadmanager.h"
#include "settings/accountsettingmodel.h"
#include "settings/appsettingmodel.h"
#include "storage/configstorage.h"
#include "storage/globalstorageprovider.h"
#include "storage/userstorageprovider.h"
#include "support/comparison.h"
#include "support/fakeaccount.h"
#include "support/settingsbyhand.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QLoggingCategory>
#include <QMutex>
#include <QStandardPaths>
#include <QThread>

#include <sqlite3.h>

#include <array>
#include <memory>

namespace
{

using benchmark::State;
using namespace settingsbyhand;

constexpr int accountCount = 5;
constexpr int rowCount = 10'000;

QString key(int i)
{
    return QStringLiteral("C-%1-%2/miss_range").arg(1000 + i % 7).arg(i);
}

/// Mostly miss ranges, and offsets.
storage::ConfigChanges rows()
{
    storage::ConfigChanges changes;
    for (int i = 0; i < rowCount; ++i) {
        const QVariant value =
            i % 4 ? QVariant(QByteArray(40, char('a' + i % 26))) : QVariant(qint64(i) << 20);
        changes.saved.append({key(i), value});
    }
    return changes;
}

/// The machine-wide settings, opened once on an empty store.
void openSettings()
{
    static const bool opened = [] {
        // In separate directories: the accounts of an installed program stay unchanged.
        QStandardPaths::setTestModeEnabled(true);
        AppSettingModel *model = AppSettingModel::instance();
        for (const char *suffix : {"", "-wal", "-shm"})
            QFile::remove(model->globalStorage()->filePath() + QLatin1StringView(suffix));
        model->loadGlobalData();
        model->setAutoDownloadMedia(true, true);
        return model->globalStorage()->isOpen();
    }();
    if (!opened)
        qFatal("the settings cannot be stored");
}

/// The accounts' directories, filled once.
const std::array<QString, accountCount> &directories()
{
    static const auto all = [] {
        openSettings();
        std::array<QString, accountCount> paths;
        for (int i = 0; i < accountCount; ++i) {
            FakeAccount account;
            account.setAccountId(i + 1);
            paths[i] = account.userStatusDataPath();
            QDir(paths[i]).removeRecursively();
            storage::UserStorageProvider provider;
            if (!provider.open(paths[i]) || !provider.bufferConfigStorage()->apply(rows()))
                qFatal("the accounts cannot be stored");
        }
        return paths;
    }();
    return all;
}

/// A hand-written reader with SQLite only.
QList<storage::ConfigInfo> readByHand(const QString &path)
{
    QList<storage::ConfigInfo> infos;
    sqlite3 *database = nullptr;
    sqlite3_stmt *row = nullptr;
    sqlite3_open(path.toUtf8().constData(), &database);
    sqlite3_prepare_v2(database, "SELECT key, value FROM buffer_config", -1, &row, nullptr);
    while (sqlite3_step(row) == SQLITE_ROW) {
        const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(row, 0));
        const QString name = QString::fromUtf8(text, sqlite3_column_bytes(row, 0));
        if (sqlite3_column_type(row, 1) == SQLITE_INTEGER) {
            infos.append({name, qint64(sqlite3_column_int64(row, 1))});
        } else {
            infos.append({name,
                          QByteArray(static_cast<const char *>(sqlite3_column_blob(row, 1)),
                                     sqlite3_column_bytes(row, 1))});
        }
    }
    sqlite3_finalize(row);
    sqlite3_close(database);
    return infos;
}

/// A hand-written cache, optimised for speed.
class HashByHand
{
public:
    HashByHand()
    {
        for (const storage::ConfigInfo &info : rows().saved)
            m_values.insert(info.key, info.value);
        m_values.insert(QStringLiteral("dialog_offset"), qint64(5));
    }
    qint64 dialogOffset() const
    {
        const QMutexLocker lock(&m_mutex);
        const auto found = m_values.constFind(QStringLiteral("dialog_offset"));
        return found == m_values.cend() ? 0 : found->toLongLong();
    }

private:
    mutable QMutex m_mutex;
    QHash<QString, QVariant> m_values;
};

/// The settings of an account on an empty store, with the save thread.
class Settings
{
public:
    Settings()
    {
        openSettings();
        m_account.setAccountId(100);
        QDir(m_account.userStatusDataPath()).removeRecursively();
        if (!m_account.openStorage(true))
            qFatal("the account cannot be stored");
        ThreadManager::getInstance()->init();
        fill([this](const QString &key, int value) { get()->setValue(key, value, true); });
    }
    ~Settings() { ThreadManager::getInstance()->quitAll(); }
    Q_DISABLE_COPY_MOVE(Settings)

    AccountSettingModel *get() const { return m_account.accountSettingModel(); }
    AccountSettingModel *operator->() const { return get(); }

private:
    FakeAccount m_account;
};

void addSettings()
{
    comparison::add(
        "an account's setting: getter, bool", 0.35,
        [](State &state) {
            const Settings settings;
            settings->setShowArchivedFolder(false);
            for (auto _ : state)
                benchmark::DoNotOptimize(settings->showArchivedFolder());
        },
        getter(QStringLiteral("show_archived_folder"), true));
    comparison::add(
        "an account's setting: getter, text", 0.35,
        [](State &state) {
            const Settings settings;
            settings->setLastLocation(QStringLiteral("52.52,13.40"));
            for (auto _ : state)
                benchmark::DoNotOptimize(settings->lastLocation());
        },
        getter(QStringLiteral("last_latlog"), QStringLiteral("52.52,13.40")));
    comparison::add(
        "an account's setting: setter, as the caller feels it", 1.0,
        [](State &state) {
            const Settings settings;
            int width = 0;
            for (auto _ : state)
                settings->setLeftTabWidth(++width);
        },
        setter(QStringLiteral("left_tab_width")));
    comparison::add(
        "an account's settings made durable, 10,000 changes", 0.2,
        [](State &state) {
            const Settings settings;
            changeAll(state, settings.get());
        },
        upsertAll);
}

/// Does nothing where the network layer's class would call its server.
class QuietAccount : public FakeAccount
{
public:
    using FakeAccount::FakeAccount;
    void setActive(bool) override { }
};

void addSwitch()
{
    comparison::add(
        "switch between two of five accounts", 1.0,
        [](State &state) {
            openSettings();
            // As in a released client.
            QLoggingCategory::setFilterRules(QStringLiteral("im.modelbase.debug=false"));
            ThreadManager::getInstance()->init();
            AccountManager *manager = AccountManager::getInstance();
            for (int i = 0; i < accountCount; ++i) {
                if (!(new QuietAccount(manager))->signIn(200 + i))
                    qFatal("the account cannot be stored");
            }
            qint64 id = 201;
            for (auto _ : state) {
                manager->setCurrentAccount(id);
                id = 404 - id; // 203 and 201
            }
            if (manager->currentAccount()->accountId() != 404 - id)
                state.SkipWithError("not switched");
            ThreadManager::getInstance()->quitAll();
            AccountManager::releaseInstance();
        },
        // The three signals of a switch, and its id passed to a thread that keeps it.
        [](State &state) {
            QThread thread;
            QObject keeper;
            keeper.moveToThread(&thread);
            thread.start();
            QHash<QString, QVariant> kept; // used by the thread
            std::array<QuietAccount, 2> accounts;
            AppSettingModel *settings = AppSettingModel::instance();
            AccountManager *manager = AccountManager::getInstance();
            qint64 id = 0;
            for (auto _ : state) {
                id = 1 - id;
                AccountBase *next = &accounts[id];
                AccountBase *last = &accounts[1 - id];
                Q_EMIT manager->beginChangeCurrentItem(AccountManager::AccountItem, false, last,
                                                       next);
                QMetaObject::invokeMethod(
                    &keeper, [&kept, id] { kept.insert(QStringLiteral("current_account"), id); });
                Q_EMIT settings->currentAccountIdChanged(id);
                Q_EMIT manager->currentAccountChanged(next, last);
            }
            thread.quit();
            thread.wait();
            AccountManager::releaseInstance();
        });
}

void addStoredData()
{
    comparison::add(
        "start-up with 5 accounts of 10,000 configuration rows", 1.6,
        [](State &state) {
            directories();
            for (auto _ : state) {
                std::array<std::unique_ptr<FakeAccount>, accountCount> accounts;
                for (int i = 0; i < accountCount; ++i) {
                    accounts[i] = std::make_unique<FakeAccount>();
                    accounts[i]->setAccountId(i + 1);
                    if (!accounts[i]->openStorage(false)
                        || accounts[i]->dataInfoModel()->missRange(key(1)).isEmpty())
                        state.SkipWithError("not read");
                }
                state.PauseTiming(); // do not measure their release
                accounts = {};
                state.ResumeTiming();
            }
        },
        [](State &state) {
            directories();
            for (auto _ : state) {
                std::array<QList<storage::ConfigInfo>, accountCount> accounts;
                for (int i = 0; i < accountCount; ++i) {
                    accounts[i] = readByHand(directories()[i] + QStringLiteral("account.db"));
                    if (accounts[i].size() != rowCount)
                        state.SkipWithError("not read");
                }
                state.PauseTiming();
                accounts = {};
                state.ResumeTiming();
            }
        });
    comparison::add(
        "a data range getter", 1.2,
        [](State &state) {
            directories();
            FakeAccount account;
            account.setAccountId(1);
            if (!account.openStorage(false))
                state.SkipWithError("not read");
            DataInfoModel *model = account.dataInfoModel();
            model->saveDialogOffset(5);
            for (auto _ : state)
                benchmark::DoNotOptimize(model->dialogOffset());
            model->removeMissRange(QStringLiteral("dialog_offset"));
        },
        [](State &state) {
            const HashByHand hash;
            for (auto _ : state)
                benchmark::DoNotOptimize(hash.dialogOffset());
        });
}

void addRows()
{
    addSettings();
    addSwitch();
    addStoredData();
}

} // namespace

COMPARISON_MAIN(addRows)
