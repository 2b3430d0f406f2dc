#include "storage/settingstorage.h"

#include <utility>

namespace storage
{

SettingStorage::SettingStorage(std::shared_ptr<Database> database)
    : RowStorage(std::move(database), "settings", true)
{
}

} // namespace storage
