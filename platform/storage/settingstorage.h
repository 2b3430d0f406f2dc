#pragma once

#include "storage/changes.h"
#include "storage/storage_export.h"

#include <QList>
#include <QString>
#include <QVariant>

#include <memory>

namespace storage
{

class Database;
template <typename Info>
class RowTable;

/// One setting row. The value keeps its type through the store.
struct SettingInfo {
    QString key;
    QVariant value;
    QString remark; ///< free text beside the value
};

using SettingChanges = Changes<SettingInfo>;

/// The setting rows of one database.
///
/// Thread: every member may be called from any thread. A call returns true only when the change is
/// durable: it survives the end of the process at any later moment. While the database is closed,
/// and when the disk refuses, calls return false (allInfos an empty list), log one line, and change
/// nothing.
class STORAGE_EXPORT SettingStorage
{
public:
    explicit SettingStorage(std::shared_ptr<Database> database);
    ~SettingStorage();

    /// False for values that no row can hold: of a type that QDataStream does not know (pointers,
    /// functions, most application types), or nested too deeply.
    static bool isStorable(const QVariant &value);

    /// False while every other call would fail.
    bool isOpen() const;
    QList<SettingInfo> allInfos() const;
    bool save(const SettingInfo &info);
    bool remove(const QString &key);
    bool removeAll();
    bool apply(const SettingChanges &changes);

private:
    Q_DISABLE_COPY_MOVE(SettingStorage)
    const std::unique_ptr<RowTable<SettingInfo>> m_rows;
};

} // namespace storage

Q_DECLARE_TYPEINFO(storage::SettingInfo, Q_RELOCATABLE_TYPE);
