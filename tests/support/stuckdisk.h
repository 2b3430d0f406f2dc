#pragma once

#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>

/// While one of these lives, what SQLite writes to certain files does not return, as on a network
/// disk that is gone. What was opened before install() is not concerned.
class StuckDisk
{
public:
    /// `part` of the paths of the files concerned.
    static void install(const char *part)
    {
        static sqlite3_vfs vfs;
        state().part = part;
        if (state().vfs)
            return;
        state().vfs = sqlite3_vfs_find(nullptr);
        vfs = *state().vfs;
        vfs.zName = "stuck";
        vfs.xOpen = open;
        sqlite3_vfs_register(&vfs, 1);
    }
    StuckDisk()
    {
        const std::lock_guard lock(state().mutex);
        state().isStuck = true;
        state().reached = 0;
    }
    ~StuckDisk() { release(); }
    void release()
    {
        const std::lock_guard lock(state().mutex);
        state().isStuck = false;
        state().changed.notify_all();
    }
    /// Says of each of those files that it cannot be synced; with or without one that lives.
    static inline std::atomic_bool failsToSync = false;
    /// True once somebody waits for the disk.
    bool isReached() const
    {
        std::unique_lock lock(state().mutex);
        return state().changed.wait_for(lock, std::chrono::seconds(20),
                                        [] { return state().reached > 0; });
    }

private:
    StuckDisk(const StuckDisk &) = delete;
    StuckDisk &operator=(const StuckDisk &) = delete;

    struct State {
        const char *part = "";
        sqlite3_vfs *vfs = nullptr;
        std::map<const sqlite3_io_methods *, sqlite3_io_methods> slowMethods; // of the usual ones
        int (*write)(sqlite3_file *, const void *, int, sqlite3_int64) = nullptr;
        int (*sync)(sqlite3_file *, int) = nullptr;
        std::mutex mutex;
        std::condition_variable changed;
        bool isStuck = false;
        int reached = 0;
    };
    static State &state()
    {
        static State &state = *new State; // a thread may still wait in it at the very end
        return state;
    }

    static int open(sqlite3_vfs *, const char *name, sqlite3_file *file, int flags, int *outFlags)
    {
        State &all = state();
        const int result = all.vfs->xOpen(all.vfs, name, file, flags, outFlags);
        const std::lock_guard lock(all.mutex);
        if (file->pMethods && name && std::strstr(name, all.part)) {
            if (!all.write) {
                all.write = file->pMethods->xWrite;
                all.sync = file->pMethods->xSync;
            }
            const auto [slow, isNew] = all.slowMethods.try_emplace(file->pMethods, *file->pMethods);
            if (isNew) {
                slow->second.xWrite = write;
                slow->second.xSync = [](sqlite3_file *synced, int how) {
                    return failsToSync ? SQLITE_IOERR_FSYNC : state().sync(synced, how);
                };
            }
            file->pMethods = &slow->second;
        }
        return result;
    }
    static int write(sqlite3_file *file, const void *bytes, int size, sqlite3_int64 offset)
    {
        {
            std::unique_lock lock(state().mutex);
            state().reached += state().isStuck;
            state().changed.notify_all();
            state().changed.wait(lock, [] { return !state().isStuck; });
        }
        return state().write(file, bytes, size, offset);
    }
};
