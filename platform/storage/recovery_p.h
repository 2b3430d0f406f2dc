#pragma once

#include "storage/database_p.h"

#include <QString>

namespace storage
{

/// True for the SQLite results that mean "these bytes are no sound database", as opposed to a lock,
/// a missing permission or a disk that cannot be read right now.
bool isDamage(int sqliteResult);

struct Recovery {
    QString setAside; ///< path of the damaged file now
    qint64 rows = 0;  ///< rows carried into the fresh file
};

/// Puts a fresh database of the same schema version in the place of the damaged one at `filePath`,
/// with every row that can still be read, and the damaged one (with its -wal and -shm) beside it
/// under a dated name. All connections of this process to it must be closed. Throws a
/// std::exception when that fails; the damaged file is in its place then.
Recovery recoverDatabase(const QString &filePath, const SchemaSteps &steps);

/// Completes a recovery that was interrupted between its last two renames.
void finishRecovery(const QString &filePath);

/// Makes an empty file that only its owner can read. Throws std::runtime_error.
void createPrivateFile(const QString &filePath);

/// Runs the schema scripts after version `from` up to version `to`, and notes that, inside the
/// caller's transaction.
void migrate(SQLite::Database &connection, const SchemaSteps &steps, int from, int to);

} // namespace storage
