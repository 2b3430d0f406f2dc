#pragma once

#include "support/syncedlog.h"

#include <QSettings>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <array>

/// Common code and hand-written alternatives for measuring the settings models.
namespace settingsbyhand
{

constexpr int changeCount = 10'000;

/// As many settings besides the measured one as a client has.
template <typename Set>
void fill(Set set)
{
    for (int i = 0; i < 120; ++i)
        set(QStringLiteral("some_setting_%1").arg(i), i);
}

/// QSettings in a separate file, filled.
struct PlainSettings {
    PlainSettings()
    {
        fill([&](const QString &key, int value) { settings.setValue(key, value); });
    }
    QTemporaryDir directory;
    QSettings settings{directory.filePath(QStringLiteral("s.ini")), QSettings::IniFormat};
};

/// Reads one of them.
template <typename T>
auto getter(const QString &key, const T &stored)
{
    return [key, stored](benchmark::State &state) {
        PlainSettings plain;
        plain.settings.setValue(key, stored);
        for (auto _ : state)
            benchmark::DoNotOptimize(plain.settings.value(key, T()).template value<T>());
    };
}

/// Sets one of them to another number each time.
inline auto setter(const QString &key)
{
    return [key](benchmark::State &state) {
        PlainSettings plain;
        int number = 0;
        for (auto _ : state)
            plain.settings.setValue(key, ++number);
    };
}

inline const QStringList &keys()
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
inline const QStringList &values(int generation)
{
    static const auto all = [] {
        std::array<QStringList, 2> made;
        for (int i = 0; i < changeCount * 2; ++i)
            made[i % 2].append(QStringLiteral("the value of setting number %1").arg(i));
        return made;
    }();
    return all[generation % 2];
}

/// All changes through a settings model, until they are safe from a power cut.
template <typename Model>
void changeAll(benchmark::State &state, Model *model)
{
    int generation = 0;
    for (auto _ : state) {
        const QStringList &now = values(generation++);
        for (int i = 0; i < changeCount; ++i)
            model->setValue(keys()[i], now[i], true);
        if (!model->flush())
            state.SkipWithError("not saved");
    }
}

/// All changes with SQLite only: one prepared statement each, committed at once, and one sync.
inline void upsertAll(benchmark::State &state)
{
    const QTemporaryDir directory;
    sqlite3 *database = nullptr;
    sqlite3_open(directory.filePath(QStringLiteral("plain.db")).toUtf8().constData(), &database);
    for (const char *sql : {"PRAGMA journal_mode = WAL", "PRAGMA synchronous = NORMAL",
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
        if (!syncLog(database))
            state.SkipWithError("not synced");
    }
    sqlite3_finalize(save);
    sqlite3_close(database);
}

} // namespace settingsbyhand
