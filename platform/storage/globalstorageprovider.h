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
/// (QStandardPaths::AppDataLocation) or another that is set.
///
/// Thread: the one that owns the provider; isOpen(), sync(), closeInCrash(), settingStorage() and
/// what that returns may be used from any.
class MODELBASE_STORAGE_EXPORT GlobalStorageProvider : public QObject
{
    Q_OBJECT
public:
    explicit GlobalStorageProvider(QObject *parent = nullptr);
    ~GlobalStorageProvider() override;

    /// Opens the database, making the directory and the tables where they are missing. True at once
    /// when it is open. False, with a log line, when it cannot be opened: the path is a directory,
    /// may only be read, is locked by another process for 2 seconds, or was written by a newer
    /// version (which is left untouched); or another process has opened it with this class, since
    /// each would undo what the other stores. Until close(), saving then tries again to open it,
    /// four times a second at most.
    ///
    /// A damaged file is never thrown away: it is set aside as "global.db.damaged-<date>", every
    /// row that can be read is carried into a fresh file, and recovered() says so.
    bool open();
    bool isOpen() const;
    /// True when the last open() found a damaged file.
    bool recovered() const;
    /// Deletes the damaged files that earlier openings have set aside, and all that is legible in
    /// them. False, with a log line, when one stays.
    bool removeSetAside();
    /// As SettingStorage's.
    bool sync();
    /// Waits for calls that are under way in other threads and for the disk, until `deadline` at
    /// most, 5 seconds by default. What takes longer ends in the background; false then. It can be
    /// opened again. The destructor does the same.
    bool close(QDeadlineTimer deadline = QDeadlineTimer(5000));
    /// For a crash handler, on any thread: from now on every call fails. Takes no lock and does not
    /// touch the file, in which there is all that was saved.
    void closeInCrash();
    /// The same for every database that this process has open or is about to open, accounts'
    /// included; it only counts up an atomic number. What is opened afterwards works as usual.
    static void closeAllInCrash();

    /// Path of the database file; while it is closed, of the one that open() would open.
    QString filePath() const;
    /// The directory that the next open() opens the database in; empty for the default one.
    void setDirectory(const QString &directory);

    /// Never null; owned by the provider.
    SettingStorage *settingStorage() const;

private:
    QString m_directory;
    const std::shared_ptr<Database> m_database;
    const std::unique_ptr<SettingStorage> m_settings;
};

} // namespace storage
