#pragma once

#include "storage/storage_export.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

namespace storage
{

class Database;

/// One key row. The meaning of `value`, usually sealed key material, is known to its writer only.
struct KeyInfo {
    QString kind; ///< "secure", "user", "chat", ...
    QString id;   ///< within the kind: a key id, an address, a dialog id
    int version = 0;
    QByteArray value;
};

/// The key rows of one account's database: one value by kind, id and version. Threads and failures
/// are as for SettingStorage; a read that fails finds nothing. A change reported as done is on the
/// disk, safe from a power cut.
class MODELBASE_STORAGE_EXPORT KeyStorage
{
public:
    explicit KeyStorage(std::shared_ptr<Database> database);
    ~KeyStorage();

    /// False while every other call would fail.
    bool isOpen() const;
    std::optional<QByteArray> value(const QString &kind, const QString &id, int version) const;
    bool contains(const QString &kind, const QString &id, int version) const;
    /// Rows of one id with fromVersion <= version <= toVersion, ascending.
    QList<KeyInfo> infos(const QString &kind, const QString &id, int fromVersion,
                         int toVersion) const;
    /// Every row, and every row of a kind; nothing, rather than an empty list, when they cannot be
    /// read.
    std::optional<QList<KeyInfo>> allInfos() const;
    std::optional<QList<KeyInfo>> allInfos(const QString &kind) const;
    /// Writes the row, replacing one of the same kind, id and version.
    bool save(const KeyInfo &info);
    /// Writes the row only if there is none yet; true when a row exists afterwards. For keys that
    /// two threads may want to create at once.
    bool saveIfAbsent(const KeyInfo &info);
    /// Also true when there was no such row. Removed keys are erased from the file and from its
    /// log.
    bool remove(const QString &kind, const QString &id, int version);
    bool removeAll();

private:
    Q_DISABLE_COPY_MOVE(KeyStorage)
    const std::shared_ptr<Database> m_database;
};

} // namespace storage
