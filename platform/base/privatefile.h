#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QString>

/// Files and directories that only their owner may access, whatever the process' umask. On Windows
/// the user's folder, which no other user may enter, provides that.
///
/// Inline and with Qt Core only: the log, on which all other libraries depend, uses it too.
namespace privatefile
{

constexpr QFile::Permissions forOwner = QFile::ReadOwner | QFile::WriteOwner;

/// Revokes all access of others to a file or directory. False when that fails.
inline bool restrict(const QString &path)
{
    constexpr QFile::Permissions others(0x0077);
    const QFile::Permissions now = QFile::permissions(path);
    return !(now & others) || QFile::setPermissions(path, now & ~others);
}

/// Creates an empty file for its owner only. False when it exists, or cannot be created.
inline bool create(const QString &path, QString *error = nullptr)
{
    QFile file(path);
    const bool made = file.open(QFile::WriteOnly | QFile::NewOnly, forOwner);
    if (!made && error)
        *error = file.errorString();
    return made;
}

/// Opens a file for writing that, like QSaveFile, is written beside its name: others are shut out
/// before it has any content. An existing file of that name may be open to all.
template <typename File>
bool open(File &file)
{
    return file.open(QIODevice::WriteOnly) && file.setPermissions(forOwner);
}

/// Creates a directory for its owner only, with missing parents. An existing one keeps its
/// permissions, except the application's data directory and directories inside it: those are closed
/// to others. Returns whether it is a directory afterwards.
inline bool makeDirectory(const QString &path)
{
    const QString clean = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    if (!QFileInfo::exists(clean)) {
        const QString above = QFileInfo(clean).path();
        // Another process may create it at the same time.
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
