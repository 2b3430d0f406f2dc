#include "base/util.h"

#include <QDirIterator>
#include <QFile>

#ifdef Q_OS_WIN
#    include <io.h>
#else
#    include <cerrno>
#    include <csignal>
#    include <fcntl.h>
#    include <unistd.h>
#endif

#ifdef Q_OS_LINUX

bool Util::syncFolder(const QString &path)
{
    // Syncs the whole file system, which for many files is far quicker than one by one.
    const int folder =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return false;
    const bool done = ::syncfs(folder) == 0;
    ::close(folder);
    return done;
}

bool Util::isOpenForWriting(const QString &path)
{
    const int file =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0)
        return false;
    // A read lease is refused while the file is open for writing. If another process opens the file
    // during the lease, that process waits for its release, and the holder is signalled by SIGIO
    // unless another signal is set: SIGIO would end the process.
    bool isWritten = false;
    if (::fcntl(file, F_SETSIG, SIGURG) == 0) {
        if (::fcntl(file, F_SETLEASE, F_RDLCK) == 0)
            ::fcntl(file, F_SETLEASE, F_UNLCK);
        else
            isWritten = errno == EAGAIN;
    }
    ::close(file);
    return isWritten;
}

#else

bool Util::isOpenForWriting(const QString &)
{
    return false;
}

bool Util::syncFolder(const QString &path)
{
    if (!QFileInfo(path).isDir())
        return false;
    bool done = true;
    QDirIterator entry(path, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (entry.hasNext()) {
        QFile file(entry.next());
        if (entry.fileInfo().isSymbolicLink())
            continue;
#    ifdef Q_OS_WIN
        // Needs a handle with write access, which a read-only file does not give.
        if (file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly))
            done = ::_commit(file.handle()) == 0 && done;
#    else
        if (file.open(QIODevice::ReadOnly))
            done = ::fsync(file.handle()) == 0 && done;
#    endif
    }
    return done;
}

#endif
