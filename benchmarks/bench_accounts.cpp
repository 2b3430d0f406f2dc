#include "dialog/datainfomodel.h"
#include "settings/appsettingmodel.h"
#include "storage/configstorage.h"
#include "storage/userstorageprovider.h"
#include "support/comparison.h"
#include "support/fakeaccount.h"

#include <QDir>
#include <QHash>
#include <QMutex>
#include <QStandardPaths>

#include <sqlite3.h>

#include <array>
#include <memory>

namespace
{

using benchmark::State;

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

/// The accounts' directories, filled once.
const std::array<QString, accountCount> &directories()
{
    static const auto all = [] {
        // In directories of their own: the accounts of an installed program stay as they are.
        QStandardPaths::setTestModeEnabled(true);
        AppSettingModel::instance()->setAutoDownloadMedia(true, false);
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

/// What someone would write by hand with SQLite alone.
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

/// A cache as someone would write it who looks at its speed.
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

void addRows()
{
    comparison::add(
        "start-up with 5 accounts of 10,000 configuration rows", 2.0,
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
                state.PauseTiming(); // giving them up is another matter
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

} // namespace

COMPARISON_MAIN(addRows)
