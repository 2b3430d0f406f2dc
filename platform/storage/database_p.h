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

/// SQL scripts from an empty file to the current schema: the first makes version 1 out of nothing,
/// the next version 2 out of that, and so on. A script that was ever released never changes.
/// Tables must have rowids: that is how rows are found again in a damaged file.
using SchemaSteps = std::vector<const char *>;

/// One SQLite file: WAL, synchronous=NORMAL, foreign keys, secure_delete. One connection serves all
/// calls; reads that would wait for it have a second one, which is opened by the first that needs
/// it.
///
/// Thread: open() and close() belong to one thread; everything else may be called from any. A call
/// waits for another thread's for waitMs at most, a read for other reads only. One that has waited
/// that long in vain fails, and so do others at once until that thread is through. Nothing here
/// throws: what fails gives false and one log line with the path and the reason.
class MODELBASE_STORAGE_EXPORT Database
{
public:
    using OpenFailure = UserStorageProvider::OpenFailure;

    /// Whether other processes may have the directory of the file open in the same way meanwhile.
    enum Sharing { Shared, OneProcess };
    explicit Database(SchemaSteps steps, Sharing sharing = Shared);
    ~Database();

    /// Opens `filePath`, making the directory and the file where they are missing, and brings the
    /// schema up to date. All files are for their owner alone, also those found open to others. See GlobalStorageProvider::open() about
    /// failures and damaged files. With `create` false nothing is made: there must be a file. True
    /// at once when it is open already.
    bool open(const QString &filePath, bool create = true);
    /// Until close(), have writes try again to open `filePath`, which could not be opened: on their
    /// own thread, and not more often than every retryMs.
    void retryOpening();
    bool isOpen() const;
    /// True when it was open and closeAllInCrash() has closed it.
    bool closedInCrash() const;
    bool recovered() const { return m_recovered; }
    /// Why the last open() failed.
    OpenFailure openFailure() const { return m_openFailure; }
    /// Waits for a call that is under way in another thread and for the disk, until `deadline` at
    /// most. What takes longer goes on in the background and closes the file at its end; false
    /// then.
    bool close(QDeadlineTimer deadline = QDeadlineTimer(waitMs));
    /// From now on every call fails; no lock is taken and the connection is not touched, since the
    /// thread that crashed may be inside SQLite. A transaction that is under way either reaches its
    /// commit or is rolled back by whoever opens the file next; what was committed is in the file
    /// or its write-ahead log. open() afterwards is allowed and starts anew.
    void closeInCrash();
    /// The same of all databases of the process; only one atomic number is changed.
    static void closeAllInCrash();
    /// The path that was opened last; inside `work`, or on the thread that opens.
    QString filePath() const { return m_filePath; }

    using Work = std::function<void()>;
    /// Runs `work` with the connection to itself. `what` ends the sentence "cannot ..." of the log
    /// line. `work` fails by throwing.
    bool read(const char *what, const Work &work);
    /// The same in one transaction: true when all of it was committed, false when none was. A power
    /// cut may take it back, as long as nothing is synced after it.
    bool write(const char *what, const Work &work);
    /// The same, synced: true only when a power cut does not take it back, nor anything before it.
    bool writeSynced(const char *what, const Work &work);
    /// Returns when no power cut takes back what was committed before. False when one may. Costs
    /// nothing when nothing was committed since the last time.
    bool sync();
    /// True where sync() has nothing to do.
    bool isSynced() const { return !m_unsynced; }
    /// Runs `call` on a thread of its own and waits for it, until `deadline` at most; then it goes
    /// on in the background. True when it came to its end in time.
    static bool runUntil(QDeadlineTimer deadline, std::function<void()> call);
    /// Takes what was removed or replaced out of the log, too; it stays there otherwise until the
    /// file is closed. True at once while it is closed. False, with a log line, when another process
    /// is reading.
    bool clearLog();
    /// Only inside `work`: the statement, compiled once for as long as the database is open, with
    /// nothing bound.
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
        Log,        ///< on the one that writes
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
    std::atomic_uint m_openings = 0; ///< so far; a call is for the one that it began in
    std::atomic_uint m_retriesIn = 0;  ///< likewise, while writes are to open it; else 0
    std::atomic<qint64> m_triedAt = 0; ///< when the last opening failed, in ms of a steady clock
    std::atomic_bool m_recovered = false;
    std::atomic<OpenFailure> m_openFailure = OpenFailure::None;
    std::atomic_bool m_unsynced = false; ///< something in the log may not be on the disk yet
    QString m_filePath;                  ///< changed with both connections locked, read with either
    const std::unique_ptr<Connection> m_main;
    const std::unique_ptr<Connection> m_reader; ///< where both are locked, after the main one
};

} // namespace storage
