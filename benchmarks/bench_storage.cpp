#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"
#include "support/comparison.h"
#include "support/syncedlog.h"

#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <memory>

namespace
{

constexpr int changeCount = 10'000;
constexpr int batchSize = 256; // changes that wait for the save thread

QString key(int i)
{
    return QStringLiteral("module/setting_%1").arg(i * 7919 % changeCount);
}

QVariant value(int i)
{
    switch (i % 4) {
    case 0:
        return i % 8 == 0;
    case 1:
        return i;
    case 2:
        return QStringLiteral("the value of setting number %1").arg(i);
    default:
        return QByteArray(60, char('a' + i % 26));
    }
}

/// A hand-written store with SQLite only.
class PlainStore
{
public:
    explicit PlainStore(const QString &path)
    {
        sqlite3_open(path.toUtf8().constData(), &m_database);
        for (const char *sql :
             {"PRAGMA journal_mode = WAL", "PRAGMA synchronous = NORMAL",
              "PRAGMA foreign_keys = ON",
              "CREATE TABLE IF NOT EXISTS s (key TEXT PRIMARY KEY NOT NULL, value, remark TEXT)"})
            sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr);
        prepare("INSERT INTO s VALUES (?, ?, ?) ON CONFLICT (key) DO UPDATE SET "
                "value = excluded.value, remark = excluded.remark",
                &m_save);
        prepare("SELECT key, value, remark FROM s", &m_read);
    }
    ~PlainStore()
    {
        sqlite3_finalize(m_save);
        sqlite3_finalize(m_read);
        sqlite3_close(m_database);
    }
    Q_DISABLE_COPY_MOVE(PlainStore)

    bool save(const storage::SettingInfo &info)
    {
        const QByteArray name = info.key.toUtf8();
        const QByteArray bytes = info.value.toByteArray();
        sqlite3_bind_text(m_save, 1, name.constData(), int(name.size()), SQLITE_STATIC);
        if (info.value.typeId() == QMetaType::Bool || info.value.typeId() == QMetaType::Int)
            sqlite3_bind_int64(m_save, 2, info.value.toLongLong());
        else if (info.value.typeId() == QMetaType::QString)
            sqlite3_bind_text(m_save, 2, bytes.constData(), int(bytes.size()), SQLITE_STATIC);
        else
            sqlite3_bind_blob(m_save, 2, bytes.constData(), int(bytes.size()), SQLITE_STATIC);
        sqlite3_bind_text(m_save, 3, "", 0, SQLITE_STATIC);
        const bool saved = sqlite3_step(m_save) == SQLITE_DONE;
        sqlite3_reset(m_save);
        return saved;
    }

    bool sync() { return syncLog(m_database); }

    QList<storage::SettingInfo> all()
    {
        QList<storage::SettingInfo> infos;
        while (sqlite3_step(m_read) == SQLITE_ROW) {
            QVariant stored;
            switch (sqlite3_column_type(m_read, 1)) {
            case SQLITE_INTEGER:
                stored = qint64(sqlite3_column_int64(m_read, 1));
                break;
            case SQLITE_TEXT:
                stored = text(1);
                break;
            default:
                stored = QByteArray(static_cast<const char *>(sqlite3_column_blob(m_read, 1)),
                                    sqlite3_column_bytes(m_read, 1));
            }
            infos.append({text(0), stored, text(2)});
        }
        sqlite3_reset(m_read);
        return infos;
    }

private:
    void prepare(const char *sql, sqlite3_stmt **statement)
    {
        sqlite3_prepare_v2(m_database, sql, -1, statement, nullptr);
    }
    QString text(int column)
    {
        const auto *bytes = reinterpret_cast<const char *>(sqlite3_column_text(m_read, column));
        return QString::fromUtf8(bytes, sqlite3_column_bytes(m_read, column));
    }

    sqlite3 *m_database = nullptr;
    sqlite3_stmt *m_save = nullptr;
    sqlite3_stmt *m_read = nullptr;
};

const QList<storage::SettingInfo> &changes()
{
    static const QList<storage::SettingInfo> all = [] {
        QList<storage::SettingInfo> infos;
        for (int i = 0; i < changeCount; ++i)
            infos.append({key(i), value(i), {}});
        return infos;
    }();
    return all;
}

bool saveAll(storage::SettingStorage &settings)
{
    for (int from = 0; from < changeCount; from += batchSize) {
        if (!settings.apply({false, {}, changes().mid(from, batchSize)}))
            return false;
    }
    return settings.sync();
}

bool saveAll(PlainStore &store)
{
    for (const storage::SettingInfo &info : changes()) {
        if (!store.save(info))
            return false;
    }
    return store.sync();
}

/// Our store in a separate directory: the one of an installed program stays unchanged.
std::unique_ptr<storage::GlobalStorageProvider> freshProvider()
{
    QStandardPaths::setTestModeEnabled(true);
    auto provider = std::make_unique<storage::GlobalStorageProvider>();
    for (const char *suffix : {"", "-wal", "-shm"})
        QFile::remove(provider->filePath() + QLatin1StringView(suffix));
    provider->open();
    return provider;
}

void addRows()
{
    using benchmark::State;
    comparison::add(
        "settings rows made durable, 10,000 changes", 0.2,
        [](State &state) {
            const auto provider = freshProvider();
            changes();
            for (auto _ : state) {
                if (!saveAll(*provider->settingStorage()))
                    state.SkipWithError("not saved");
            }
        },
        [](State &state) {
            const QTemporaryDir directory;
            PlainStore store(directory.filePath(QStringLiteral("plain.db")));
            changes();
            for (auto _ : state) {
                if (!saveAll(store))
                    state.SkipWithError("not saved");
            }
        });
    comparison::add(
        "settings rows read back, 10,000 rows", 2.0,
        [](State &state) {
            const auto provider = freshProvider();
            saveAll(*provider->settingStorage());
            for (auto _ : state) {
                if (provider->settingStorage()->allInfos().size() != changeCount)
                    state.SkipWithError("not read");
            }
        },
        [](State &state) {
            const QTemporaryDir directory;
            PlainStore store(directory.filePath(QStringLiteral("plain.db")));
            saveAll(store);
            for (auto _ : state) {
                if (store.all().size() != changeCount)
                    state.SkipWithError("not read");
            }
        });
    comparison::add(
        "settings store opened and read, 10,000 rows", 1.8,
        [](State &state) {
            const auto provider = freshProvider();
            saveAll(*provider->settingStorage());
            for (auto _ : state) {
                provider->close();
                if (!provider->open()
                    || provider->settingStorage()->allInfos().size() != changeCount)
                    state.SkipWithError("not read");
            }
        },
        [](State &state) {
            const QTemporaryDir directory;
            const QString path = directory.filePath(QStringLiteral("plain.db"));
            {
                PlainStore store(path);
                saveAll(store);
            }
            for (auto _ : state) {
                PlainStore store(path);
                if (store.all().size() != changeCount)
                    state.SkipWithError("not read");
            }
        });
}

} // namespace

COMPARISON_MAIN(addRows)
