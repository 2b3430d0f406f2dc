#pragma once

#include <QString>

// Keys of the settings that more than one file reads or writes.
namespace SettingKey
{

constexpr auto accounts = [] { return QStringLiteral("accounts"); };
constexpr auto cacheDataPath = [] { return QStringLiteral("cache_data_path"); };
constexpr auto currentAccount = [] { return QStringLiteral("current_account"); };
constexpr auto databaseVersion = [] { return QStringLiteral("database_version"); };
constexpr auto formerPlaces = [] { return QStringLiteral("moved_file_names"); };
constexpr auto leftMedia = [] { return QStringLiteral("left_media"); };
constexpr auto leftStores = [] { return QStringLiteral("left_stores"); };
constexpr auto oldCacheDataPath = [] { return QStringLiteral("old_cache_data_path"); };
constexpr auto serverConfig = [] { return QStringLiteral("server_config"); };

} // namespace SettingKey
