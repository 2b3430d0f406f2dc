#pragma once

namespace storage
{

/// The step of an account database's schema (see SchemaSteps) that creates the key table.
constexpr const char *keySchema =
    "CREATE TABLE keys (kind NOT NULL, id NOT NULL, version INTEGER NOT NULL, value BLOB NOT NULL, "
    "PRIMARY KEY (kind, id, version))";

} // namespace storage
