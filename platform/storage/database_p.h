#pragma once

#include "storage/storage_export.h"
#include "storage/userstorageprovider.h"

#include <QDeadlineTimer>
#include <QMutex>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace SQLite
{
class Database;
class Statement;
} // namespace SQLite

namespace storage
{

/// SQL scripts from an empty file to the current schema: the first creates version 1, the next
/// turns that into version 2, and so on. A script that was ever released never changes. Tables must
/// have rowids: recovery of a damaged file finds rows by them.
using SchemaSteps = std::vector<const char *>;

/// One SQLite file: WAL, synchronous=NORMAL, foreign keys, secure_delete. One connection serves all
/// calls; reads that would wait for it use a second one, opened on first need.
///
/// Thread: open() and close() belong to one thread; everything else may be called from any. A call
/// waits for another thread's call for waitMs at most; a read waits for other reads only. After a
/// timeout the call fails, and so do others at once until that thread is done. Nothing here throws:
/// a failure returns false and writes one log line with the path and the reason.
class MODELBASE_STORAGE_EXPORT Database
{
public:
    using OpenFailure = UserStorageProvider::OpenFailure;

    /// Whether other processes may open the same directory in this way at the same time.
    enum Sharing { Shared, OneProcess };
    explicit Database(SchemaSteps steps, Sharing sharing = Shared);
    ~Database();

    /// Opens `filePath`, creating the directory and the file if they are missing, and brings the
    /// schema up to date. All files become accessible to their owner only, including existing ones.
    /// See GlobalStorageProvider::open() about failures and damaged files. With `create` false the
    /// file must exist. True at once when it is open already.
    bool open(const QString &filePath, bool create = true);
    /// Until close(), writes try again to open `filePath`, which could not be opened: on their own
    /// thread, at most once every retryMs.
    void retryOpening();
    bool isOpen() const;
    /// True when it was open and closeAllInCrash() has closed it.
    bool closedInCrash() const;
    bool recovered() const { return m_recovered; }
    /// Why the last open() failed.
    OpenFailure openFailure() const { return m_openFailure; }
    /// Waits for another thread's call and for the disk, until `deadline` at most. After that the
    /// call continues in the background and closes the file at its end; false then.
    bool close(QDeadlineTimer deadline = QDeadlineTimer(waitMs));
    /// From now on every call fails; no lock is taken and the connection is not touched, since the
    /// thread that crashed may be inside SQLite. A running transaction either reaches its commit or
    /// is rolled back when the file is opened next; committed data are in the file or its
    /// write-ahead log. open() afterwards is allowed and starts over.
    void closeInCrash();
    /// The same for all databases of the process; changes only one atomic number.
    static void closeAllInCrash();
    /// The path opened last; call it inside `work`, or on the thread that opens.
    QString filePath() const { return m_filePath; }

    using Work = std::function<void()>;
    /// Runs `work` with exclusive use of the connection. `what` ends the sentence "cannot ..." of
    /// the log line. `work` fails by throwing.
    bool read(const char *what, const Work &work);
    /// The same in one transaction: true when all of it was committed, false when none was. A power
    /// cut may undo it until a later sync.
    bool write(const char *what, const Work &work);
    /// The same, synced: true only when a power cut cannot undo it, nor anything before it.
    bool writeSynced(const char *what, const Work &work);
    /// Returns true when no power cut can undo earlier commits, false when one may. Costs nothing
    /// when nothing was committed since the last time.
    bool sync();
    /// True when sync() has nothing to do.
    bool isSynced() const { return !m_unsynced; }
    /// Runs `call` on a separate thread and waits for it, until `deadline` at most; then it
    /// continues in the background. True when it ended in time.
    static bool runUntil(QDeadlineTimer deadline, std::function<void()> call);
    /// Also removes deleted and replaced data from the log; otherwise they stay there until the
    /// file is closed. True at once while it is closed. False, with a log line, when another
    /// process is reading.
    bool clearLog();
    /// Only inside `work`: the statement, compiled once while the database is open, with nothing
    /// bound.
    SQLite::Statement &statement(std::string_view sql);

    /// One line to the Qt log ("im.storage") and to ImLog. Not inside `work`.
    static void log(const QString &text);

    static constexpr int waitMs = 5000;
    static constexpr int retryMs = 250;

private:
    Q_DISABLE_COPY_MOVE(Database)
    class Connection;
    enum class Kind {
        Read,       ///< on either connection
        Log,        ///< on the writing connection
        Write,      ///< on that one, in one transaction
        WriteSynced ///< likewise
    };
    bool run(const char *what, Kind kind, const Work &work);
    void syncLog();
    Connection *lockForReading();
    void retry();

    const SchemaSteps m_steps;
    const Sharing m_sharing;
    std::atomic_uint m_openedIn = 0; ///< 0 while closed; else the count of crashes it was opened in
    std::atomic_uint m_openings = 0; ///< number of openings; a call serves the one it began in
    std::atomic_uint m_retriesIn = 0;  ///< likewise, while writes retry opening; else 0
    std::atomic<qint64> m_triedAt = 0; ///< when the last opening failed, in ms of a steady clock
    std::atomic_bool m_recovered = false;
    std::atomic<OpenFailure> m_openFailure = OpenFailure::None;
    std::atomic_bool m_unsynced = false; ///< something in the log may not be on the disk yet
    QString m_filePath;                  ///< written with both connections locked, read with either
    const std::unique_ptr<Connection> m_main;
    const std::unique_ptr<Connection> m_reader; ///< locked after the main one
};

} // namespace storage
