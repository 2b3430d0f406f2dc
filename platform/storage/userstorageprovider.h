#pragma once

#include "storage/storage_export.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

namespace storage
{

class ConfigStorage;
class Database;
class KeyStorage;
class SettingStorage;

/// One account's store: one SQLite database, "account.db", in the account's own directory.
///
/// Thread: open(), close(), filePath(), recovered() and openFailure() belong to the thread that
/// owns the provider; everything else may be used from any. The storages are never null and live as
/// long as the provider.
class MODELBASE_STORAGE_EXPORT UserStorageProvider : public QObject
{
    Q_OBJECT
public:
    /// Why a database is not open.
    enum class OpenFailure {
        None,       ///< the last open() did not fail
        Missing,    ///< there is none, and none was to be created
        Locked,     ///< another program is using it
        Newer,      ///< a newer version has written it
        Unreadable, ///< no access, a failing disk, or something else in its place
    };

    explicit UserStorageProvider(QObject *parent = nullptr);
    ~UserStorageProvider() override;

    /// Opens the database in `directory`, creating the directory and the tables if they are
    /// missing. See GlobalStorageProvider::open() about damaged, newer, locked or unwritable files.
    /// With `create` false a directory without a database is refused: an account that vanished must
    /// not be taken for an empty one. A store open in another directory is closed first; in the
    /// same one, it stays open.
    bool open(const QString &directory, bool create = true);
    bool isOpen() const;
    /// True when the last open() found a damaged file.
    bool recovered() const;
    OpenFailure openFailure() const;
    /// True when there is certainly no database in `directory`, nor anything in its place. Also
    /// false when that cannot be determined now.
    static bool isMissing(const QString &directory);
    /// As GlobalStorageProvider::close().
    bool close(QDeadlineTimer deadline = QDeadlineTimer(5000));
    void closeInCrash();
    /// Path of the database file; empty before the first open().
    QString filePath() const;

    SettingStorage *settingStorage() const;
    /// Synchronisation state that is kept on this machine only.
    ConfigStorage *bufferConfigStorage() const;
    /// Configuration that the account's devices share.
    ConfigStorage *syncConfigStorage() const;
    KeyStorage *keyStorage() const;

    /// Sets how the storage layer asks the account to refresh a group's information.
    void setUpdateGroupInfoMethod(std::function<void(qint64 groupId)> method);
    /// Calls that method, if it is set, on the caller's thread.
    void updateGroupInfo(qint64 groupId) const;

private:
    class Private;
    const std::unique_ptr<Private> d;
};

} // namespace storage
