#pragma once

#include "storage/database_p.h"

#include <QString>

namespace storage
{

/// True for the SQLite results that mean a damaged database, as opposed to a lock, a missing
/// permission or a disk that cannot be read now.
bool isDamage(int sqliteResult);

struct Recovery {
    QString setAside; ///< new path of the damaged file
    qint64 rows = 0;  ///< rows copied into the new file
};

/// Replaces the damaged database at `filePath` by a new one of the same schema version, with every
/// readable row, and keeps the damaged one (with its -wal and -shm) beside it under a dated name.
/// All connections of this process to it must be closed. Throws a std::exception on failure; the
/// damaged file is in its place then.
Recovery recoverDatabase(const QString &filePath, const SchemaSteps &steps);

/// Completes a recovery that was interrupted between its last two renames.
void finishRecovery(const QString &filePath);

/// Creates an empty file that only its owner can read. Throws std::runtime_error.
void createPrivateFile(const QString &filePath);

/// Runs the schema scripts after version `from` up to version `to`, and records the version, inside
/// the caller's transaction.
void migrate(SQLite::Database &connection, const SchemaSteps &steps, int from, int to);

} // namespace storage
