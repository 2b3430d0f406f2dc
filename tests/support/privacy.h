#pragma once

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QStringList>

#ifdef Q_OS_UNIX
#    include <fcntl.h>
#    include <sys/stat.h>
#endif

/// What a process makes while one of these lives, it makes for everybody, unless it says otherwise.
class NoUmask
{
public:
#ifdef Q_OS_UNIX
    NoUmask() : m_before(::umask(0)) { }
    ~NoUmask()
    {
        ::umask(m_before);
    }

private:
    const mode_t m_before;
#endif
};

constexpr QFile::Permissions everybody(0x7777);
constexpr QFile::Permissions others(0x0077);

/// A directory and all that is in it, as far as somebody but the owner may use it.
inline QStringList openToOthers(const QString &directory)
{
    QStringList paths{directory};
    QDirIterator inside(directory, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
    while (inside.hasNext())
        paths.append(inside.next());
    paths.removeIf([](const QString &path) { return !(QFile::permissions(path) & others); });
    return paths;
}

/// What a program that this process starts would have open of a directory, as far as is known.
inline QStringList openToChildren([[maybe_unused]] const QString &directory)
{
    QStringList paths;
#ifdef Q_OS_LINUX
    const QDir open(QStringLiteral("/proc/self/fd"));
    for (const QString &name : open.entryList(QDir::AllEntries | QDir::System)) {
        const QString path = QFile::symLinkTarget(open.filePath(name));
        if (path.startsWith(directory) && !(::fcntl(name.toInt(), F_GETFD) & FD_CLOEXEC))
            paths.append(path);
    }
#endif
    return paths;
}
