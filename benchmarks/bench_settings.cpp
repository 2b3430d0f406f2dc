#include "account/threadmanager.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"
#include "support/comparison.h"

#include <QFile>
#include <QSemaphore>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <array>

namespace
{

using benchmark::State;

constexpr int changeCount = 10'000;

/// The model on an empty store, with its save thread.
class Model
{
public:
    Model()
    {
        // In a directory of its own: the store of an installed program stays as it is.
        QStandardPaths::setTestModeEnabled(true);
        AppSettingModel *model = AppSettingModel::instance();
        for (const char *suffix : {"", "-wal", "-shm"})
            QFile::remove(model->globalStorage()->filePath() + QLatin1StringView(suffix));
        ThreadManager::getInstance()->init();
        model->loadGlobalData();
    }
    ~Model()
    {
        ThreadManager::getInstance()->quitAll();
        AppSettingModel::releaseInstance();
    }
    Q_DISABLE_COPY_MOVE(Model)

    AppSettingModel *operator->() const { return m_model; }

    /// Returns when everything handed over before is on disk.
    static void waitForWrites()
    {
        QSemaphore written;
        ThreadManager::invoke([&] { written.release(); }, true);
        written.acquire();
    }

private:
    AppSettingModel *const m_model = AppSettingModel::instance();
};

/// As many settings beside the one that is measured as a client has.
template <typename Set>
void fill(Set set)
{
    for (int i = 0; i < 120; ++i)
        set(QStringLiteral("some_setting_%1").arg(i), i);
}

struct PlainSettings {
    QTemporaryDir directory;
    QSettings settings{directory.filePath(QStringLiteral("s.ini")), QSettings::IniFormat};
};

void addGetters()
{
    comparison::add(
        "a settings getter, bool", 0.5,
        [](State &state) {
            const Model model;
            fill([&](const QString &key, int value) { model->setValue(key, value, false); });
            model->setDarkMode(true, false);
            for (auto _ : state)
                benchmark::DoNotOptimize(model->darkMode());
        },
        [](State &state) {
            PlainSettings plain;
            fill([&](const QString &key, int value) { plain.settings.setValue(key, value); });
            plain.settings.setValue(QStringLiteral("dark_mode"), true);
            for (auto _ : state) {
                benchmark::DoNotOptimize(
                    plain.settings.value(QStringLiteral("dark_mode"), false).toBool());
            }
        });
    comparison::add(
        "a settings getter, text", 0.5,
        [](State &state) {
            const Model model;
            fill([&](const QString &key, int value) { model->setValue(key, value, false); });
            model->setSaveasPath(QStringLiteral("/home/user/Downloads"), false);
            for (auto _ : state)
                benchmark::DoNotOptimize(model->saveasPath());
        },
        [](State &state) {
            PlainSettings plain;
            fill([&](const QString &key, int value) { plain.settings.setValue(key, value); });
            plain.settings.setValue(QStringLiteral("saveas_path"),
                                    QStringLiteral("/home/user/Downloads"));
            for (auto _ : state) {
                benchmark::DoNotOptimize(
                    plain.settings.value(QStringLiteral("saveas_path"), QString()).toString());
            }
        });
}

void addSetter()
{
    comparison::add(
        "a settings setter, as the caller feels it", 1.5,
        [](State &state) {
            const Model model;
            int width = 0;
            for (auto _ : state)
                model->setSessionListWidth(++width);
        },
        [](State &state) {
            PlainSettings plain;
            int width = 0;
            for (auto _ : state)
                plain.settings.setValue(QStringLiteral("session_list_width"), ++width);
        });
}

const QStringList &keys()
{
    static const QStringList all = [] {
        QStringList made;
        for (int i = 0; i < changeCount; ++i)
            made.append(QStringLiteral("module/setting_%1").arg(i * 7919 % changeCount));
        return made;
    }();
    return all;
}

/// Two generations of values that alternate, so that each round changes every row.
const QStringList &values(int generation)
{
    static const auto all = [] {
        std::array<QStringList, 2> made;
        for (int i = 0; i < changeCount * 2; ++i)
            made[i % 2].append(QStringLiteral("the value of setting number %1").arg(i));
        return made;
    }();
    return all[generation % 2];
}

void addDurability()
{
    comparison::add(
        "settings made durable through the model, 10,000 changes", 0.5,
        [](State &state) {
            const Model model;
            int generation = 0;
            for (auto _ : state) {
                const QStringList &now = values(generation++);
                for (int i = 0; i < changeCount; ++i)
                    model->setValue(keys()[i], now[i], true);
                Model::waitForWrites();
            }
        },
        [](State &state) {
            const QTemporaryDir directory;
            sqlite3 *database = nullptr;
            sqlite3_open(directory.filePath(QStringLiteral("plain.db")).toUtf8().constData(),
                         &database);
            for (const char *sql :
                 {"PRAGMA journal_mode = WAL", "PRAGMA synchronous = NORMAL",
                  "CREATE TABLE s (key TEXT PRIMARY KEY NOT NULL, value, remark TEXT)"})
                sqlite3_exec(database, sql, nullptr, nullptr, nullptr);
            sqlite3_stmt *save = nullptr;
            sqlite3_prepare_v2(database,
                               "INSERT INTO s VALUES (?, ?, '') ON CONFLICT (key) DO UPDATE SET "
                               "value = excluded.value, remark = excluded.remark",
                               -1, &save, nullptr);
            int generation = 0;
            for (auto _ : state) {
                const QStringList &now = values(generation++);
                for (int i = 0; i < changeCount; ++i) {
                    const QByteArray key = keys()[i].toUtf8();
                    const QByteArray value = now[i].toUtf8();
                    sqlite3_bind_text(save, 1, key.constData(), int(key.size()), SQLITE_STATIC);
                    sqlite3_bind_text(save, 2, value.constData(), int(value.size()), SQLITE_STATIC);
                    if (sqlite3_step(save) != SQLITE_DONE)
                        state.SkipWithError("not saved");
                    sqlite3_reset(save);
                }
            }
            sqlite3_finalize(save);
            sqlite3_close(database);
        });
}

void addRows()
{
    addGetters();
    addSetter();
    addDurability();
}

} // namespace

COMPARISON_MAIN(addRows)
