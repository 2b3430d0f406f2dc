#include "base/util.h"

#include <QDirIterator>
#include <QFile>

#ifdef Q_OS_WIN
#    include <io.h>
#else
#    include <fcntl.h>
#    include <unistd.h>
#endif

#ifdef Q_OS_LINUX

bool Util::syncFolder(const QString &path)
{
    // The whole file system in one go, which for many files is far quicker than one by one.
    const int folder =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return false;
    const bool done = ::syncfs(folder) == 0;
    ::close(folder);
    return done;
}

#else

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
        // Takes a handle to write with, which a read-only file does not give.
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
