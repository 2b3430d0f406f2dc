#pragma once

#include <sqlite3.h>

/// What someone who uses SQLite alone does, under synchronous=NORMAL, before it counts on what was
/// committed: the one sync that all commits so far share.
inline bool syncLog(sqlite3 *database)
{
    sqlite3_file *log = nullptr;
    return sqlite3_file_control(database, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log) == SQLITE_OK
        && log->pMethods->xSync(log, SQLITE_SYNC_NORMAL) == SQLITE_OK;
}
