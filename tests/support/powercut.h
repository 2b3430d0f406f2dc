#pragma once

#include <sqlite3.h>

#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

/// What a power cut would leave of the files that SQLite writes: each as it was when it was last
/// synced. A file that never was is not there; one that was deleted is, until its directory is
/// synced, which SQLite does with the first sync of a journal or log that it made.
///
///     PowerCut::install();                         // before the stores are opened
///     ... use the stores ...
///     PowerCut::copy(directory, otherDirectory);   // now the power fails
///     ... open the stores in otherDirectory, and look ...
///
/// The running stores notice nothing and may go on. Works below StuckDisk and other such layers, as
/// long as it is installed first. What is written without SQLite is not concerned.
class PowerCut
{
public:
    static void install()
    {
        static sqlite3_vfs vfs;
        if (state().base)
            return;
        state().base = sqlite3_vfs_find(nullptr);
        vfs = *state().base;
        vfs.zName = "powercut";
        vfs.xOpen = open;
        vfs.xDelete = remove;
        sqlite3_vfs_register(&vfs, 1);
    }
    /// Writes what is left of the files in `from` to `to`; both end with a slash. False when there
    /// is nothing.
    static bool copy(const std::string &from, const std::string &to)
    {
        const std::lock_guard lock(state().mutex);
        bool any = false;
        for (const auto &[path, bytes] : state().onDisk) {
            if (directoryOf(path) != from)
                continue;
            std::ofstream(to + path.substr(from.size()), std::ios::binary)
                .write(bytes.data(), std::streamsize(bytes.size()));
            any = true;
        }
        return any;
    }

private:
    using Bytes = std::vector<char>;
    struct File {
        std::string path;
        bool syncsDirectory = false; // at its first sync
    };
    struct State {
        sqlite3_vfs *base = nullptr;
        std::mutex mutex;                                                 // guards what follows
        std::map<const sqlite3_io_methods *, sqlite3_io_methods> methods; // ours for the usual ones
        std::map<sqlite3_file *, std::pair<File, const sqlite3_io_methods *>> files;
        std::map<std::string, Bytes> onDisk;
        std::set<std::string> deleted;
    };
    static State &state()
    {
        static State &state = *new State; // SQLite may be used at the very end
        return state;
    }
    static std::string directoryOf(const std::string &path)
    {
        return path.substr(0, path.rfind('/') + 1);
    }
    static Bytes read(sqlite3_file *file, const sqlite3_io_methods *methods)
    {
        sqlite3_int64 size = 0;
        methods->xFileSize(file, &size);
        Bytes bytes(std::size_t(size), 0);
        if (size > 0)
            methods->xRead(file, bytes.data(), int(size), 0);
        return bytes;
    }

    static int open(sqlite3_vfs *, const char *name, sqlite3_file *file, int flags, int *outFlags)
    {
        State &all = state();
        const int result = all.base->xOpen(all.base, name, file, flags, outFlags);
        const std::lock_guard lock(all.mutex);
        if (!file->pMethods || !name)
            return result;
        const sqlite3_io_methods *usual = file->pMethods;
        const auto [ours, isNew] = all.methods.try_emplace(usual, *usual);
        if (isNew) {
            ours->second.xSync = sync;
            ours->second.xClose = close;
        }
        constexpr int journals = SQLITE_OPEN_MAIN_JOURNAL | SQLITE_OPEN_WAL;
        all.files[file] = {{name, (flags & journals) && (flags & SQLITE_OPEN_CREATE)}, usual};
        // What there was before us counts as synced, but for a file that was only made.
        if (Bytes bytes = read(file, usual); !bytes.empty() && !all.onDisk.contains(name))
            all.onDisk[name] = std::move(bytes);
        file->pMethods = &ours->second;
        return result;
    }
    static int sync(sqlite3_file *file, int flags)
    {
        State &all = state();
        const std::lock_guard lock(all.mutex);
        auto &[opened, usual] = all.files.at(file);
        const int result = usual->xSync(file, flags);
        if (result != SQLITE_OK)
            return result;
        all.onDisk[opened.path] = read(file, usual);
        all.deleted.erase(opened.path);
        if (std::exchange(opened.syncsDirectory, false)) {
            std::erase_if(all.deleted, [&](const std::string &path) {
                return directoryOf(path) == directoryOf(opened.path)
                    && (all.onDisk.erase(path), true);
            });
        }
        return result;
    }
    static int close(sqlite3_file *file)
    {
        State &all = state();
        const std::lock_guard lock(all.mutex);
        const sqlite3_io_methods *usual = all.files.at(file).second;
        all.files.erase(file);
        return usual->xClose(file);
    }
    static int remove(sqlite3_vfs *, const char *name, int syncDirectory)
    {
        State &all = state();
        const int result = all.base->xDelete(all.base, name, syncDirectory);
        const std::lock_guard lock(all.mutex);
        if (result == SQLITE_OK && syncDirectory)
            all.onDisk.erase(name);
        else if (result == SQLITE_OK)
            all.deleted.insert(name);
        return result;
    }
};
