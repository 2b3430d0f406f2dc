#pragma once

#include "storage/storage_export.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QString>

#include <memory>

namespace storage
{

class Database;
class SettingStorage;

/// The machine-wide store: one SQLite database, "global.db" in the application data directory
/// (QStandardPaths::AppDataLocation) or in setDirectory().
///
/// Thread: the one that owns the provider; isOpen(), sync(), closeInCrash(), settingStorage() and
/// the object that it returns may be used from any.
class MODELBASE_STORAGE_EXPORT GlobalStorageProvider : public QObject
{
    Q_OBJECT
public:
    explicit GlobalStorageProvider(QObject *parent = nullptr);
    ~GlobalStorageProvider() override;

    /// Opens the database, creating the directory and the tables if they are missing. True at once
    /// when it is open. False, with a log line, when it cannot be opened: the path is a directory,
    /// is read-only, is locked by another process for 2 seconds, or was written by a newer version
    /// (which is left unchanged); or another process has opened it with this class, since each
    /// would undo the other's changes. Until close(), writes then try again to open it, at most
    /// four times a second.
    ///
    /// A damaged file is never deleted: it is set aside as "global.db.damaged-<date>", every
    /// readable row is copied into a new file, and recovered() is true.
    bool open();
    bool isOpen() const;
    /// True when the last open() found a damaged file.
    bool recovered() const;
    /// Deletes the damaged files that earlier openings have set aside, with their readable content.
    /// False, with a log line, when one stays.
    bool removeSetAside();
    /// As SettingStorage::sync().
    bool sync();
    /// Waits for calls in other threads and for the disk, until `deadline` at most, 5 seconds by
    /// default. After that they end in the background; false then. It can be opened again. The
    /// destructor does the same.
    bool close(QDeadlineTimer deadline = QDeadlineTimer(5000));
    /// For a crash handler, on any thread: from now on every call fails. Takes no lock and does not
    /// touch the file, which contains everything that was saved.
    void closeInCrash();
    /// The same for every database that this process has open or is about to open, including
    /// accounts'; only increments an atomic number. Databases opened afterwards work as usual.
    static void closeAllInCrash();

    /// Path of the database file; while it is closed, the path that open() would use.
    QString filePath() const;
    /// The directory for the next open(); empty for the default one.
    void setDirectory(const QString &directory);

    /// Never null; owned by the provider.
    SettingStorage *settingStorage() const;

private:
    QString m_directory;
    const std::shared_ptr<Database> m_database;
    const std::unique_ptr<SettingStorage> m_settings;
};

} // namespace storage
