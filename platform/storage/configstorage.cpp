#include "storage/configstorage.h"

#include <utility>

namespace storage
{

ConfigStorage::ConfigStorage(std::shared_ptr<Database> database, const char *table)
    : RowStorage(std::move(database), table, false)
{
}

} // namespace storage
