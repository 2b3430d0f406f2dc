#pragma once

#include "storage/rowstorage.h"

namespace storage
{

using SettingInfo = Row;
using SettingChanges = Changes;

/// The setting rows of one database, see GlobalStorageProvider and UserStorageProvider. The rows
/// keep their remarks.
class MODELBASE_STORAGE_EXPORT SettingStorage : public RowStorage
{
public:
    explicit SettingStorage(std::shared_ptr<Database> database);
};

} // namespace storage
