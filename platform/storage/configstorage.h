#pragma once

#include "storage/changes.h"
#include "storage/storage_export.h"

#include <QDeadlineTimer>
#include <QList>
#include <QString>
#include <QVariant>

#include <memory>

namespace storage
{

class Database;
template <typename Info>
class RowTable;

/// One configuration row. The value keeps its type through the store.
struct ConfigInfo {
    QString key;
    QVariant value;
};

using ConfigChanges = Changes<ConfigInfo>;

/// One set of configuration rows of an account's database, see UserStorageProvider. On threads,
/// failures, and what a row can hold, all is as with SettingStorage.
class STORAGE_EXPORT ConfigStorage
{
public:
    /// `table` is one of the tables that the account's schema makes.
    ConfigStorage(std::shared_ptr<Database> database, const char *table);
    ConfigStorage(const ConfigStorage &);
    ~ConfigStorage();

    /// False while every other call would fail.
    bool isOpen() const;
    /// True when it was open until GlobalStorageProvider::closeAllInCrash().
    bool closedInCrash() const;
    QList<ConfigInfo> allInfos() const;
    /// The value of one row; invalid when there is none.
    QVariant value(const QString &key) const;
    bool save(const ConfigInfo &info);
    bool remove(const QString &key);
    bool apply(const ConfigChanges &changes);
    bool apply(const ConfigChanges &changes, QDeadlineTimer deadline);
    bool sync(QDeadlineTimer deadline = QDeadlineTimer::Forever);

private:
    const std::shared_ptr<RowTable<ConfigInfo>> m_rows;
};

} // namespace storage

Q_DECLARE_TYPEINFO(storage::ConfigInfo, Q_RELOCATABLE_TYPE);
