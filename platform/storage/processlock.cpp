#include "storage/processlock_p.h"

#include <QDir>
#include <QFile>
#include <QHash>

#include <mutex>

#ifdef Q_OS_WIN
#    include <windows.h>
#else
#    include <cerrno>
#    include <fcntl.h>
#    include <sys/file.h>
#    include <unistd.h>
#endif

namespace storage
{
namespace
{

#ifdef Q_OS_WIN

std::optional<ProcessLock> lock(const QString &directory)
{
    const QString path = QDir::toNativeSeparators(directory + QStringLiteral("/in-use"));
    const HANDLE file = CreateFileW(reinterpret_cast<const wchar_t *>(path.utf16()), GENERIC_WRITE,
                                    0, nullptr, OPEN_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file != INVALID_HANDLE_VALUE)
        return ProcessLock(file, [](const void *held) { CloseHandle(HANDLE(held)); });
    if (GetLastError() == ERROR_SHARING_VIOLATION)
        return std::nullopt;
    return ProcessLock();
}

#else

std::optional<ProcessLock> lock(const QString &directory)
{
    const int file =
        ::open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0)
        return ProcessLock();
    const auto close = [](const int *held) {
        ::close(*held);
        delete held;
    };
    const std::shared_ptr<const int> held(new int(file), close);
    if (flock(file, LOCK_EX | LOCK_NB) == 0)
        return held;
    if (errno == EWOULDBLOCK)
        return std::nullopt;
    return ProcessLock();
}

#endif

} // namespace

std::optional<ProcessLock> lockForProcess(const QString &directory)
{
    static std::mutex mutex;
    static auto &locks = *new QHash<QString, std::weak_ptr<const void>>; // for exiting threads
    const std::lock_guard guard(mutex);
    const QString path = QDir(directory).canonicalPath();
    if (ProcessLock held = locks.value(path).lock())
        return held;
    std::optional<ProcessLock> taken = lock(path);
    if (taken)
        locks.insert(path, *taken);
    return taken;
}

} // namespace storage
