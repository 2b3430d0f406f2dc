#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QString>

/// Files and directories that nobody but their owner may read, whatever the process' umask says. On
/// Windows that is left to the folder of the user, which no other user may enter.
///
/// Inline, and of Qt Core alone: the log, on which all other libraries stand, uses it too.
namespace privatefile
{

constexpr QFile::Permissions forOwner = QFile::ReadOwner | QFile::WriteOwner;

/// Takes from others all that they may do with a file or directory. False when that cannot be done.
inline bool restrict(const QString &path)
{
    constexpr QFile::Permissions others(0x0077);
    const QFile::Permissions now = QFile::permissions(path);
    return !(now & others) || QFile::setPermissions(path, now & ~others);
}

/// Makes an empty file for its owner alone. False when there is one, or it cannot be made.
inline bool create(const QString &path, QString *error = nullptr)
{
    QFile file(path);
    const bool made = file.open(QFile::WriteOnly | QFile::NewOnly, forOwner);
    if (!made && error)
        *error = file.errorString();
    return made;
}

/// Opens a file for writing, of a kind that takes shape beside its name, as QSaveFile: nothing is in
/// it yet when others are shut out. What stands under the name may be open to all.
template <typename File>
bool open(File &file)
{
    return file.open(QIODevice::WriteOnly) && file.setPermissions(forOwner);
}

/// Makes a directory for its owner alone, with those above it that are missing. One that is there
/// keeps its permissions, but for the application's data directory and what is in it: those are
/// closed to others. True when it is a directory afterwards.
inline bool makeDirectory(const QString &path)
{
    const QString clean = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    if (!QFileInfo::exists(clean)) {
        const QString above = QFileInfo(clean).path();
        // Somebody else may make it at the same time.
        return above != clean && makeDirectory(above)
            && (QDir().mkdir(clean, forOwner | QFile::ExeOwner) || QFileInfo(clean).isDir());
    }
    // An application without a name shares its directory with others.
    const QString own = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    const bool isShared =
        own == QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (!isShared && (clean == own || clean.startsWith(own + u'/')))
        restrict(clean);
    return QFileInfo(clean).isDir();
}

} // namespace privatefile
