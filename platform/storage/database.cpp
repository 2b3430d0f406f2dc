#include "storage/database_p.h"

#include "base/privatefile.h"
#include "imlog/imlog.h"
#include "storage/processlock_p.h"
#include "storage/recovery_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QScopeGuard>

#include <sqlite3.h>
#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <unordered_map>
#include <utility>

namespace storage
{

namespace
{

/// Allows searching a map with owned keys without making one.
struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const
    {
        return std::hash<std::string_view>()(text);
    }
};

struct Handle {
    ProcessLock lock; // until the database is closed
    std::unique_ptr<SQLite::Database> database;
    std::unordered_map<std::string, SQLite::Statement, TextHash, std::equal_to<>> statements;
};

/// The connection that this thread's call uses.
thread_local Handle *inUse = nullptr;

} // namespace

/// A connection and its lock.
class Database::Connection
{
public:
    bool lock(QDeadlineTimer deadline)
    {
        const auto left = m_held ? 0 : std::max<qint64>(deadline.remainingTime(), 0);
        m_held = !m_mutex.tryLock(int(left));
        return !m_held;
    }
    bool tryLock() { return m_mutex.tryLock(); }
    void unlock()
    {
        do {
            if (m_abandoned.exchange(false))
                m_handle.reset();
            m_held = false;
            m_mutex.unlock();
            // It may have been abandoned meanwhile, by a caller that still found it locked.
        } while (m_abandoned && m_mutex.tryLock());
    }
    /// Closed at once, or by the lock's holder on release.
    void abandon()
    {
        m_abandoned = true;
        if (m_mutex.tryLock()) // no one holds it any more
            unlock();
    }
    /// Under the lock: starts over, with nothing open.
    void clear()
    {
        m_abandoned = false;
        m_handle.reset();
    }
    std::unique_ptr<Handle> m_handle; ///< under the lock

private:
    std::atomic_bool m_held = false; ///< a call's wait for the mutex timed out
    std::atomic_bool m_abandoned = false;
    QMutex m_mutex;
};

namespace
{

constexpr int busyTimeoutMs = 2000;
// Counts from 1; see closeAllInCrash().
std::atomic_uint crashes = 1;
static_assert(std::atomic_uint::is_always_lock_free);
constexpr char heldReason[] = "another thread's call hangs in it";
constexpr qint64 headerBytes = 100; // SQLite's file format, section 1.3

/// Describes the exception being handled; never empty.
QString currentReason()
{
    const QString unknown = QStringLiteral("unknown error");
    try {
        throw;
    } catch (const std::exception &e) {
        return *e.what() ? QString::fromUtf8(e.what()) : unknown;
    } catch (...) {
        return unknown;
    }
}

// Never called under the lock: a message handler may call back.
void logFailure(const char *what, const QString &filePath, const QString &reason)
{
    Database::log(
        QStringLiteral("cannot %1 %2: %3").arg(QString::fromLatin1(what), filePath, reason));
}

qint64 steadyMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

/// An error of open() for which SQLite has no code.
struct OpenError : std::runtime_error {
    OpenError(Database::OpenFailure why, const std::string &text)
        : std::runtime_error(text), failure(why)
    {
    }
    Database::OpenFailure failure;
};

ProcessLock lockDirectory(const QString &filePath, bool create)
{
    const QString directory = QFileInfo(filePath).path();
    if (create)
        privatefile::makeDirectory(directory);
    if (std::optional<ProcessLock> lock = lockForProcess(directory))
        return *lock;
    throw OpenError(Database::OpenFailure::Locked, "another process has it open");
}

/// Why opening failed, from the exception being handled.
Database::OpenFailure currentFailure()
{
    try {
        throw;
    } catch (const OpenError &e) {
        return e.failure;
    } catch (const SQLite::Exception &e) {
        const bool isLocked = e.getErrorCode() == SQLITE_BUSY || e.getErrorCode() == SQLITE_LOCKED;
        return isLocked ? Database::OpenFailure::Locked : Database::OpenFailure::Unreadable;
    } catch (...) {
        return Database::OpenFailure::Unreadable;
    }
}

/// Makes sure that there is a file to open. True when it was created here.
bool prepareFile(const QString &filePath, bool create)
{
    const QFileInfo info(filePath);
    if ((create || QFileInfo(info.path()).isDir()) && !privatefile::makeDirectory(info.path()))
        throw std::runtime_error("its directory cannot be made");
    finishRecovery(filePath);
    // SQLite gives its log and its index the permissions of the database file.
    privatefile::restrict(filePath);
    // Those created beside a read-only file are read-only, and would stay so.
    for (const char *suffix : {"-wal", "-shm"})
        QFile::setPermissions(filePath + QLatin1StringView(suffix), privatefile::forOwner);
    // SQLite's own text for this is only "unable to open database file".
    if (info.isDir())
        throw std::runtime_error("it is a directory");
    if (info.exists() && !info.isFile())
        throw std::runtime_error("it is no file");
    if (info.exists() || info.isSymLink())
        return false;
    if (!create)
        throw OpenError(Database::OpenFailure::Missing, "there is none");
    createPrivateFile(filePath);
    return true;
}

void checkSound(SQLite::Database &connection)
{
    std::string verdict;
    try {
        connection.exec("PRAGMA cell_size_check = ON");
        verdict = connection.execAndGet("PRAGMA quick_check(1)").getString();
    } catch (const SQLite::Exception &e) {
        // For an unknown schema format, SQLite only has a generic error.
        if (e.getErrorCode() != SQLITE_ERROR)
            throw;
        verdict = e.what();
    }
    if (verdict != "ok")
        throw SQLite::Exception(verdict, SQLITE_CORRUPT);
}

/// The statements that created the database's schema.
std::string schemaOf(SQLite::Database &connection)
{
    return connection
        .execAndGet("SELECT group_concat(sql, ';') FROM (SELECT sql FROM sqlite_schema "
                    "WHERE name NOT LIKE 'sqlite_%' ORDER BY name)")
        .getString();
}

/// The schema's version. If the number was lost, the tables show it.
int versionOf(SQLite::Database &connection, const SchemaSteps &steps)
{
    const int version = connection.execAndGet("PRAGMA user_version").getInt();
    const std::string schema = version == 0 ? schemaOf(connection) : std::string();
    if (schema.empty())
        return version;
    for (int candidate = int(steps.size()); candidate > 0; --candidate) {
        SQLite::Database made(":memory:", SQLite::OPEN_READWRITE);
        migrate(made, steps, 0, candidate);
        if (schemaOf(made) == schema)
            return candidate;
    }
    throw SQLite::Exception("it has tables, but of no version known", SQLITE_CORRUPT);
}

std::unique_ptr<SQLite::Database> connect(const QString &filePath, const SchemaSteps &steps)
{
    const int current = int(steps.size());
    // Our own mutex is held around every use; SQLite's would be locked again for each column.
    auto connection = std::make_unique<SQLite::Database>(
        filePath.toStdString(), SQLite::OPEN_READWRITE | SQLite::OPEN_NOMUTEX, busyTimeoutMs);
    const bool hasLog = QFileInfo(filePath + QStringLiteral("-wal")).size() > 0;
    try {
        // SQLite would open an unwritable file for reading, and create files beside it.
        if (sqlite3_db_readonly(connection->getHandle(), "main") != 0)
            throw std::runtime_error("it may only be read");
        // SQLite fills in missing parts of a header, including its version.
        const qint64 bytes = QFileInfo(filePath).size();
        if (bytes > 0 && bytes < headerBytes)
            throw SQLite::Exception("it ends inside its header", SQLITE_NOTADB);
        // Before anything that could write: a newer version's file must stay unchanged.
        const int version = connection->execAndGet("PRAGMA user_version").getInt();
        if (version < 0 || version > current) {
            throw OpenError(Database::OpenFailure::Newer,
                            "it was written by a newer version (schema " + std::to_string(version)
                                + ", known up to " + std::to_string(current) + ")");
        }
        checkSound(*connection);
        connection->exec("PRAGMA journal_mode = WAL");
        connection->exec("PRAGMA synchronous = NORMAL");
        connection->exec("PRAGMA foreign_keys = ON");
        connection->exec("PRAGMA secure_delete = ON");
        // Even with nothing to migrate: only the write lock shows whether the file can be written.
        SQLite::Transaction transaction(*connection, SQLite::TransactionBehavior::IMMEDIATE);
        migrate(*connection, steps, versionOf(*connection, steps), current);
        transaction.commit();
        // A killed process may have removed rows that its log still holds.
        if (hasLog)
            connection->exec("PRAGMA wal_checkpoint(TRUNCATE)");
    } catch (const SQLite::Exception &e) {
        // A damaged file is set aside as found: do not checkpoint its log when closing.
        if (isDamage(e.getErrorCode()))
            sqlite3_db_config(connection->getHandle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1,
                              nullptr);
        throw;
    }
    return connection;
}

/// A connection for reading beside the one that writes.
std::unique_ptr<SQLite::Database> connectReader(const QString &filePath)
{
    // Not read-only: the connection closed last checkpoints the log.
    auto connection = std::make_unique<SQLite::Database>(
        filePath.toStdString(), SQLite::OPEN_READWRITE | SQLite::OPEN_NOMUTEX, busyTimeoutMs);
    connection->exec("PRAGMA query_only = ON");
    return connection;
}

} // namespace

void Database::log(const QString &text)
{
    static const QLoggingCategory category("im.storage");
    ImLog::error(category, QStringLiteral("storage: ") + text.simplified());
}

Database::Database(SchemaSteps steps, Sharing sharing)
    : m_steps(std::move(steps)), m_sharing(sharing), m_main(std::make_unique<Connection>()),
      m_reader(std::make_unique<Connection>())
{
}

Database::~Database()
{
    m_openedIn = 0;
    // Not held: no call is inside, as expected. Held: a thread died inside after closeInCrash(),
    // and closing is left to the operating system.
    for (const auto &connection : {m_reader.get(), m_main.get()}) {
        if (connection->tryLock()) {
            connection->clear();
            connection->unlock();
        } else {
            static_cast<void>(connection->m_handle.release());
        }
    }
}

bool Database::isOpen() const
{
    return m_openedIn == crashes;
}

bool Database::closedInCrash() const
{
    const unsigned openedIn = m_openedIn;
    return openedIn != 0 && openedIn != crashes;
}

bool Database::open(const QString &filePath, bool create)
{
    if (isOpen())
        return true;
    // An opening under way during a crash ends closed.
    const unsigned now = crashes;
    QString damage;
    m_openFailure = OpenFailure::None;
    const auto held = [this] {
        m_openFailure = OpenFailure::Locked;
        return QString::fromLatin1(heldReason);
    };
    const QString failure = [&] {
        const QDeadlineTimer deadline(waitMs);
        if (!m_main->lock(deadline))
            return held();
        const auto mainUnlocked = qScopeGuard([this] { m_main->unlock(); });
        if (!m_reader->lock(deadline))
            return held();
        const auto readerUnlocked = qScopeGuard([this] { m_reader->unlock(); });
        if (isOpen()) // a write opened it meanwhile
            return QString();
        bool created = false;
        try {
            m_reader->clear();
            m_main->clear();
            if (m_filePath != filePath) // a retry changes nothing that others may read
                m_filePath = filePath;
            m_recovered = false;
            ProcessLock lock =
                m_sharing == OneProcess ? lockDirectory(filePath, create) : ProcessLock();
            created = prepareFile(filePath, create);
            std::unique_ptr<SQLite::Database> connection;
            try {
                connection = connect(filePath, m_steps);
            } catch (const SQLite::Exception &e) {
                if (!isDamage(e.getErrorCode()))
                    throw;
                const Recovery recovery = recoverDatabase(filePath, m_steps);
                m_recovered = true;
                damage = QStringLiteral("%1 was damaged (%2); set aside as %3, %4 rows kept")
                             .arg(filePath, QString::fromUtf8(e.what()), recovery.setAside)
                             .arg(recovery.rows);
                connection = connect(filePath, m_steps);
            }
            m_main->m_handle.reset(new Handle{std::move(lock), std::move(connection), {}});
            // The last writes of a killed process may not be on the disk yet.
            m_unsynced = true;
            ++m_openings;
            m_openedIn = now;
            return QString();
        } catch (...) {
            m_openFailure = currentFailure();
            if (created)
                QFile::remove(filePath);
            m_triedAt = steadyMs();
            return currentReason();
        }
    }();
    if (!damage.isEmpty())
        log(damage);
    if (!failure.isEmpty())
        logFailure("open", filePath, failure);
    return failure.isEmpty();
}

void Database::retryOpening()
{
    m_retriesIn = crashes.load();
}

void Database::retry()
{
    if (m_openedIn != 0 || m_retriesIn != crashes || steadyMs() - m_triedAt < retryMs)
        return;
    if (!m_main->tryLock())
        return;
    const QString filePath = m_filePath;
    m_main->unlock();
    open(filePath);
}

bool Database::close(QDeadlineTimer deadline)
{
    m_openedIn = 0;
    m_retriesIn = 0;
    std::vector<std::shared_ptr<Handle>> handles;
    bool isHeld = false;
    for (Connection *connection : {m_reader.get(), m_main.get()}) {
        if (connection->lock(deadline)) {
            if (connection->m_handle)
                handles.push_back(std::move(connection->m_handle));
            connection->unlock();
        } else {
            connection->abandon();
            isHeld = true;
        }
    }
    if (isHeld)
        logFailure("close", m_filePath, QString::fromLatin1(heldReason));
    const bool closed =
        handles.empty() || runUntil(deadline, [handles = std::move(handles)]() mutable {
            for (std::shared_ptr<Handle> &handle : handles)
                handle.reset();
        });
    return closed && !isHeld;
}

void Database::closeInCrash()
{
    m_openedIn = 0;
    m_retriesIn = 0;
}

void Database::closeAllInCrash()
{
    ++crashes;
}

bool Database::runUntil(QDeadlineTimer deadline, std::function<void()> call)
{
    struct Progress {
        std::mutex mutex;
        std::condition_variable changed;
        bool done = false;
    };
    const auto progress = std::make_shared<Progress>();
    try {
        std::thread([progress, call = std::move(call)]() mutable {
            call();
            call = nullptr; // its captures may take long to destroy
            const std::lock_guard lock(progress->mutex);
            progress->done = true;
            progress->changed.notify_all();
        }).detach();
    } catch (const std::system_error &) {
        return false; // no thread could be started
    }
    std::unique_lock lock(progress->mutex);
    return progress->changed.wait_for(lock, std::chrono::milliseconds(deadline.remainingTime()),
                                      [&] { return progress->done; });
}

bool Database::read(const char *what, const Work &work)
{
    return run(what, Kind::Read, work);
}

bool Database::write(const char *what, const Work &work)
{
    if (!isOpen())
        retry();
    return run(what, Kind::Write, work);
}

bool Database::writeSynced(const char *what, const Work &work)
{
    if (!isOpen())
        retry();
    return run(what, Kind::WriteSynced, work);
}

bool Database::sync()
{
    return (isOpen() && isSynced()) || run("sync", Kind::Log, [this] { syncLog(); });
}

/// Under synchronous=NORMAL a commit does not wait for the disk: this, or a checkpoint, brings the
/// log to the disk. Call it inside `work`, or after it.
void Database::syncLog()
{
    sqlite3_file *log = nullptr;
    int result = sqlite3_file_control(inUse->database->getHandle(), nullptr,
                                      SQLITE_FCNTL_JOURNAL_POINTER, &log);
    // Without a log, each commit has been synced.
    if (result == SQLITE_OK && log && log->pMethods)
        result = log->pMethods->xSync(log, SQLITE_SYNC_NORMAL);
    if (result != SQLITE_OK)
        throw SQLite::Exception(sqlite3_errstr(result), result);
    m_unsynced = false;
}

bool Database::clearLog()
{
    return !isOpen() || run("clear the log of", Kind::Log, [this] {
        SQLite::Statement &result = statement("PRAGMA wal_checkpoint(TRUNCATE)");
        result.executeStep();
        const bool isBlocked = result.getColumn(0).getInt() != 0;
        const bool isPartial = result.getColumn(1).getInt() != result.getColumn(2).getInt();
        if (isBlocked || isPartial)
            throw std::runtime_error("another process is using it");
    });
}

/// Null when both stay locked for too long.
Database::Connection *Database::lockForReading()
{
    if (m_main->tryLock())
        return m_main.get();
    return m_reader->lock(QDeadlineTimer(waitMs)) ? m_reader.get() : nullptr;
}

bool Database::run(const char *what, Kind kind, const Work &work)
{
    QString path = QStringLiteral("the database");
    const QString failure = [&] {
        // Checked before locking as well: after closeInCrash() the lock may be held for ever.
        const unsigned opening = m_openings;
        if (!isOpen())
            return QStringLiteral("it is closed");
        Connection *const connection = kind == Kind::Read ? lockForReading()
            : m_main->lock(QDeadlineTimer(waitMs))        ? m_main.get()
                                                          : nullptr;
        if (!connection)
            return QString::fromLatin1(heldReason);
        const auto unlocked = qScopeGuard([connection] { connection->unlock(); });
        // After reopening it may be another file.
        if (!isOpen() || opening != m_openings)
            return QStringLiteral("it is closed");
        try {
            if (!connection->m_handle) {
                connection->m_handle.reset(new Handle{{}, connectReader(m_filePath), {}});
            }
            Handle &handle = *connection->m_handle;
            const auto before = std::exchange(inUse, &handle);
            // A statement that is not reset keeps its read transaction, and its bound values.
            const auto reset = qScopeGuard([&handle, before] {
                inUse = before;
                for (auto &[sql, statement] : handle.statements) {
                    statement.tryReset();
                    statement.clearBindings();
                }
            });
            if (kind == Kind::Read || kind == Kind::Log) {
                work();
                return QString();
            }
            const bool synced = kind == Kind::WriteSynced;
            // So that a commit fails, and is rolled back, if it cannot be synced.
            if (synced)
                handle.database->exec("PRAGMA synchronous = FULL");
            const auto normal = qScopeGuard([&] {
                if (synced)
                    handle.database->tryExec("PRAGMA synchronous = NORMAL");
            });
            {
                SQLite::Transaction guard(*handle.database, SQLite::TransactionBehavior::IMMEDIATE);
                work();
                guard.commit();
            }
            if (!synced)
                m_unsynced = true;
            else if (m_unsynced) // earlier writes; this one may have written nothing
                syncLog();
            return QString();
        } catch (...) {
            path = m_filePath;
            return currentReason();
        }
    }();
    if (failure.isEmpty())
        return true;
    logFailure(what, path, failure);
    return false;
}

SQLite::Statement &Database::statement(std::string_view sql)
{
    auto &statements = inUse->statements;
    auto found = statements.find(sql);
    if (found == statements.end()) {
        std::string text(sql);
        SQLite::Statement compiled(*inUse->database, text);
        found = statements.emplace(std::move(text), std::move(compiled)).first;
    }
    found->second.tryReset();
    return found->second;
}

} // namespace storage
