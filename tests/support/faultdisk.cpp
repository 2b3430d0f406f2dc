// Preloaded into a test's process: a disk below FAULT_ROOT whose FAULT_AT-th call, counted from 1,
// goes wrong in the way of FAULT_KIND:
//   count  none does; at its end the process writes the number of calls to the file FAULT_COUNT
//   fail   that call fails with EIO
//   gone   that one and all that follow do
//   full   from that one on, nothing can be made or written: ENOSPC
//   short  that write is cut in half; any other call is left alone
//   kill   the process ends instead of that call, with the code 99
//   cut    and the power fails: what was not synced is as it was before
//   torn   as cut, but by FAULT_SEED some of what was not synced is on the disk, in any order
// Whoever makes a file of the name power-cut has the power fail, too.
// A sync of a file makes its data, its size and its name durable; one of a directory what happened
// to the names in it; one of the file system everything, and each folder in FAULT_ROOT is one. The
// log, and what is only memory that processes share, are not watched.

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <list>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// The function that this library stands before.
#define REAL(name)                                                                                 \
    static const auto real_##name = reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name))

using Bytes = std::vector<char>;

struct stat about(int file)
{
    struct stat result {
    };
    fstat(file, &result);
    return result;
}

/// One thing that is not durable yet.
struct Change {
    enum { Write, Resize, Name } what;
    std::string directory; // in which it is
    ino_t inode;
    int file = -1; // of data: a descriptor that stays open
    off_t offset = 0;
    Bytes before;
    Bytes after;
    off_t sizeBefore = 0;
    // A name that was made or taken away, and where what it stood for is kept meanwhile.
    std::string gone;
    std::string made;
    std::string kept;
};

class Disk
{
public:
    static Disk &the()
    {
        static Disk &disk = *new Disk; // as long as any thread writes
        return disk;
    }

    bool isWatched(const char *path) const
    {
        return !m_root.empty() && path && std::strncmp(path, m_root.c_str(), m_root.size()) == 0
            && !std::strstr(path, "/log/") && !std::strstr(path, "-shm");
    }
    std::string pathOf(int file) const
    {
        char path[4096];
        const auto size =
            readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), path, sizeof path - 1);
        return size > 0 ? std::string(path, std::size_t(size)) : std::string();
    }
    bool isWatched(int file) const { return !m_root.empty() && isWatched(pathOf(file).c_str()); }

    enum Call { Writing, Making, Other };
    /// Counts a call. 0 when it shall be made, else its errno; -1 when half of it shall be.
    int begin(Call call)
    {
        if (m_kind == "short" && call != Writing)
            return 0;
        ++m_calls;
        if ((m_kind == "fail" && m_calls == m_at) || (m_kind == "gone" && m_calls >= m_at))
            return EIO;
        if (m_kind == "full" && m_calls >= m_at && call != Other)
            return ENOSPC;
        if (m_kind == "short" && m_calls == m_at)
            return -1;
        if (m_kind == "kill" && m_calls == m_at)
            _exit(99);
        if ((m_kind == "cut" || m_kind == "torn") && m_calls == m_at)
            cut();
        return 0;
    }

    void add(Change change) { m_changes.push_back(std::move(change)); }
    Change data(int file, off_t offset, std::size_t size)
    {
        const struct stat now = about(file);
        Change change{};
        change.what = Change::Write;
        change.directory = directoryOf(pathOf(file));
        change.inode = now.st_ino;
        change.offset = offset;
        change.sizeBefore = now.st_size;
        const auto [known, isNew] = m_open.try_emplace(now.st_ino);
        if (isNew) {
            // Another one than the caller's, which may be closed, and closing which would drop
            // locks: only at the very end. Not for writing: what is written to is not moved.
            const std::string path = "/proc/self/fd/" + std::to_string(file);
            REAL(open64);
            known->second = real_open64(path.c_str(), O_RDONLY | O_CLOEXEC);
        }
        change.file = known->second;
        change.before.resize(size);
        const auto got = pread(change.file, change.before.data(), size, offset);
        change.before.resize(got > 0 ? std::size_t(got) : 0);
        return change;
    }
    void name(const std::string &gone, const std::string &made, const std::string &kept)
    {
        Change change{};
        change.what = Change::Name;
        const std::string &path = made.empty() ? gone : made;
        change.directory = canonical(directoryOf(path));
        struct stat now;
        change.inode = ::stat(path.c_str(), &now) == 0 ? now.st_ino : 0;
        change.gone = gone;
        change.made = made;
        change.kept = kept;
        m_changes.push_back(std::move(change));
    }
    /// Another name for what is about to lose its own; empty where there is nothing.
    std::string keep(const std::string &path)
    {
        REAL(link);
        std::string kept = m_root + "/../fault-" + std::to_string(++m_kept);
        return real_link(path.c_str(), kept.c_str()) == 0 ? kept : std::string();
    }
    void synced(int file)
    {
        const struct stat now = about(file);
        const std::string path = pathOf(file);
        m_changes.remove_if([&](const Change &change) {
            return change.inode == now.st_ino
                || (S_ISDIR(now.st_mode) && change.what == Change::Name
                    && change.directory == path);
        });
    }

    void allSynced(const std::string &path)
    {
        const auto fileSystem = [this](const std::string &inside) {
            return inside.substr(0, inside.find('/', m_root.size() + 1));
        };
        m_changes.remove_if(
            [&](const Change &change) { return fileSystem(change.directory) == fileSystem(path); });
    }
    [[noreturn]] void cut()
    {
        REAL(rename);
        REAL(unlink);
        for (auto change = m_changes.rbegin(); change != m_changes.rend(); ++change) {
            if (change->what != Change::Name) {
                set(*change, change->before, change->sizeBefore);
                continue;
            }
            if (!change->made.empty() && !change->gone.empty())
                real_rename(change->made.c_str(), change->gone.c_str());
            else if (!change->made.empty())
                real_unlink(change->made.c_str());
            if (!change->kept.empty())
                real_rename(change->kept.c_str(),
                            (change->made.empty() ? change->gone : change->made).c_str());
        }
        if (m_kind == "torn") {
            std::minstd_rand random(m_seed);
            for (const Change &change : m_changes) {
                if (change.what == Change::Write && random() % 2)
                    set(change, change.after,
                        std::max(about(change.file).st_size,
                                 change.offset + off_t(change.after.size())));
            }
        }
        _exit(99);
    }

    std::mutex mutex;

private:
    Disk()
    {
        const auto variable = [](const char *name) {
            const char *value = std::getenv(name);
            return std::string(value ? value : "");
        };
        m_root = variable("FAULT_ROOT");
        m_kind = variable("FAULT_KIND");
        m_at = std::atol(variable("FAULT_AT").c_str());
        m_seed = unsigned(std::atol(variable("FAULT_SEED").c_str()));
        if (m_kind == "count")
            std::atexit([] {
                if (std::FILE *file = std::fopen(std::getenv("FAULT_COUNT"), "w")) {
                    std::fprintf(file, "%ld\n", the().m_calls);
                    std::fclose(file);
                }
            });
    }

    void set(const Change &change, const Bytes &bytes, off_t size)
    {
        REAL(open64);
        REAL(pwrite64);
        REAL(ftruncate64);
        const std::string path = "/proc/self/fd/" + std::to_string(change.file);
        const int file = real_open64(path.c_str(), O_WRONLY | O_CLOEXEC);
        (void)real_pwrite64(file, bytes.data(), bytes.size(), change.offset);
        (void)real_ftruncate64(file, size);
    }
    static std::string directoryOf(const std::string &path)
    {
        return path.substr(0, path.rfind('/'));
    }
    static std::string canonical(const std::string &path)
    {
        char *known = ::realpath(path.c_str(), nullptr);
        const std::string result = known ? known : path;
        std::free(known);
        return result;
    }

    std::string m_root;
    std::string m_kind;
    long m_at = 0;
    unsigned m_seed = 0;
    long m_calls = 0;
    int m_kept = 0;
    std::map<ino_t, int> m_open;
    std::list<Change> m_changes;
};

/// Makes a call that is watched, as far as the disk lets it; `note` what it did.
template <typename Real, typename Note>
int attempt(Disk::Call call, Real real, Note note)
{
    Disk &disk = Disk::the();
    const std::lock_guard lock(disk.mutex);
    if (const int error = disk.begin(call); error > 0) {
        errno = error;
        return -1;
    }
    const int result = real(disk);
    if (result == 0)
        note(disk);
    return result;
}

ssize_t writeAt(int file, const void *bytes, std::size_t size, off_t offset, bool moves)
{
    REAL(pwrite64);
    Disk &disk = Disk::the();
    const std::lock_guard lock(disk.mutex);
    const int error = disk.begin(Disk::Writing);
    if (error > 0) {
        errno = error;
        return -1;
    }
    if (error < 0)
        size = (size + 1) / 2;
    if (moves)
        offset =
            fcntl(file, F_GETFL) & O_APPEND ? lseek(file, 0, SEEK_END) : lseek(file, 0, SEEK_CUR);
    Change change = disk.data(file, offset, size);
    const ssize_t written = real_pwrite64(file, bytes, size, offset);
    if (written > 0) {
        const char *first = static_cast<const char *>(bytes);
        change.after.assign(first, first + written);
        disk.add(std::move(change));
        if (moves)
            lseek(file, offset + written, SEEK_SET);
    }
    return written;
}

int resize(int file, off_t size)
{
    REAL(ftruncate64);
    Change change;
    const auto real = [&](Disk &disk) {
        const off_t before = about(file).st_size;
        change = disk.data(file, size, before > size ? std::size_t(before - size) : 0);
        change.what = Change::Resize;
        return real_ftruncate64(file, size);
    };
    return attempt(Disk::Other, real, [&](Disk &disk) { disk.add(std::move(change)); });
}

/// The machine's own disk need not be asked.
int sync(int file)
{
    return attempt(
        Disk::Other, [](Disk &) { return 0; }, [&](Disk &disk) { disk.synced(file); });
}

template <typename Open>
int make(const char *path, int flags, mode_t mode, Open real)
{
    Disk &disk = Disk::the();
    if (!disk.isWatched(path) || !(flags & (O_CREAT | O_TRUNC)))
        return real(path, flags, mode);
    const std::lock_guard lock(disk.mutex);
    if (std::string(path).ends_with("/power-cut"))
        disk.cut();
    struct stat before;
    const bool isNew = ::stat(path, &before) != 0;
    const bool cuts = !isNew && flags & O_TRUNC && before.st_size > 0;
    if (isNew || cuts) {
        if (const int error = disk.begin(Disk::Making); error > 0) {
            errno = error;
            return -1;
        }
    }
    const int file = real(path, flags & ~O_TRUNC, mode);
    if (file < 0)
        return file;
    if (isNew) {
        disk.name({}, path, {});
    } else if (cuts) {
        REAL(ftruncate64);
        Change change = disk.data(file, 0, std::size_t(before.st_size));
        change.what = Change::Resize;
        real_ftruncate64(file, 0);
        disk.add(std::move(change));
    }
    return file;
}

template <typename Call>
int renameTo(const char *from, const char *to, Call call)
{
    if (!Disk::the().isWatched(to))
        return call();
    std::string kept;
    return attempt(
        Disk::Making,
        [&](Disk &disk) {
            kept = disk.keep(to);
            return call();
        },
        [&](Disk &disk) { disk.name(from, to, kept); });
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

ssize_t pwrite64(int file, const void *bytes, std::size_t size, off64_t offset)
{
    REAL(pwrite64);
    return Disk::the().isWatched(file) ? writeAt(file, bytes, size, offset, false)
                                       : real_pwrite64(file, bytes, size, offset);
}
ssize_t pwrite(int, const void *, std::size_t, off_t) __attribute__((alias("pwrite64")));
ssize_t write(int file, const void *bytes, std::size_t size)
{
    REAL(write);
    return Disk::the().isWatched(file) ? writeAt(file, bytes, size, 0, true)
                                       : real_write(file, bytes, size);
}
// Who copies by these has to do it by reading and writing.
ssize_t copy_file_range(int, off64_t *, int, off64_t *, std::size_t, unsigned)
{
    errno = ENOSYS;
    return -1;
}
ssize_t sendfile64(int, int, off64_t *, std::size_t)
{
    errno = ENOSYS;
    return -1;
}
ssize_t sendfile(int, int, off_t *, std::size_t) __attribute__((alias("sendfile64")));
int ftruncate64(int file, off64_t size)
{
    REAL(ftruncate64);
    return Disk::the().isWatched(file) ? resize(file, size) : real_ftruncate64(file, size);
}
int ftruncate(int, off_t) __attribute__((alias("ftruncate64")));
int fsync(int file)
{
    REAL(fsync);
    return Disk::the().isWatched(file) ? sync(file) : real_fsync(file);
}
int fdatasync(int file)
{
    REAL(fdatasync);
    return Disk::the().isWatched(file) ? sync(file) : real_fdatasync(file);
}
int syncfs(int file)
{
    REAL(syncfs);
    if (!Disk::the().isWatched(file))
        return real_syncfs(file);
    return attempt(
        Disk::Other, [](Disk &) { return 0; },
        [&](Disk &disk) { disk.allSynced(disk.pathOf(file)); });
}
int open64(const char *path, int flags, ...)
{
    REAL(open64);
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if ((flags & O_TMPFILE) == O_TMPFILE && Disk::the().isWatched(path)) {
        errno = EOPNOTSUPP; // a file without a name has a place in no such table
        return -1;
    }
    return make(path, flags, mode, real_open64);
}
int open(const char *, int, ...) __attribute__((alias("open64")));
int rename(const char *from, const char *to)
{
    REAL(rename);
    return renameTo(from, to, [&] { return real_rename(from, to); });
}
int renameat2(int fromDirectory, const char *from, int toDirectory, const char *to, unsigned flags)
{
    REAL(renameat2);
    return renameTo(from, to,
                    [&] { return real_renameat2(fromDirectory, from, toDirectory, to, flags); });
}
int link(const char *from, const char *to)
{
    REAL(link);
    const auto real = [&](Disk &) { return real_link(from, to); };
    return Disk::the().isWatched(to)
        ? attempt(Disk::Making, real, [&](Disk &disk) { disk.name({}, to, {}); })
        : real_link(from, to);
}
int unlink(const char *path)
{
    REAL(unlink);
    if (!Disk::the().isWatched(path))
        return real_unlink(path);
    std::string kept;
    return attempt(
        Disk::Other,
        [&](Disk &disk) {
            kept = disk.keep(path);
            return real_unlink(path);
        },
        [&](Disk &disk) { disk.name(path, {}, kept); });
}
int mkdir(const char *path, mode_t mode)
{
    REAL(mkdir);
    const auto real = [&](Disk &) { return real_mkdir(path, mode); };
    return Disk::the().isWatched(path) ? attempt(Disk::Making, real, [](Disk &) {})
                                       : real_mkdir(path, mode);
}

} // extern "C"
#pragma GCC visibility pop
