#pragma once

#include "storage/rowstorage.h"

namespace storage
{

using ConfigInfo = Row;
using ConfigChanges = Changes;

/// One set of configuration rows of an account's database, see UserStorageProvider. The rows have
/// no remarks.
class MODELBASE_STORAGE_EXPORT ConfigStorage : public RowStorage
{
public:
    ConfigStorage(std::shared_ptr<Database> database, const char *table);
};

} // namespace storage
