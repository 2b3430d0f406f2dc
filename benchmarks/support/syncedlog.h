#pragma once

#include <sqlite3.h>

/// With SQLite only, under synchronous=NORMAL, makes earlier commits durable: the one sync that
/// they all share.
inline bool syncLog(sqlite3 *database)
{
    sqlite3_file *log = nullptr;
    return sqlite3_file_control(database, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log) == SQLITE_OK
        && log->pMethods->xSync(log, SQLITE_SYNC_NORMAL) == SQLITE_OK;
}
