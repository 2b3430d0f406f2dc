#pragma once

namespace storage
{

// Steps of a schema (see SchemaSteps). Columns without a declared type keep values unchanged.
constexpr const char *settingSchema =
    "CREATE TABLE settings (key PRIMARY KEY NOT NULL, type TEXT NOT NULL, value, remark NOT NULL)";
constexpr const char *configSchema =
    "CREATE TABLE buffer_config (key PRIMARY KEY NOT NULL, type TEXT NOT NULL, value);"
    "CREATE TABLE sync_config (key PRIMARY KEY NOT NULL, type TEXT NOT NULL, value)";

} // namespace storage
