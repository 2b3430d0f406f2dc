#include "storage/database_p.h"

#include "imlog/imlog.h"
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

namespace storage
{

namespace
{

/// Lets a map with owned keys be searched without making one.
struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const
    {
        return std::hash<std::string_view>()(text);
    }
};

} // namespace

struct Database::Connection {
    std::unique_ptr<SQLite::Database> database;
    std::unordered_map<std::string, SQLite::Statement, TextHash, std::equal_to<>> statements;
};

namespace
{

constexpr int busyTimeoutMs = 2000;
// Counts from 1; see closeAllInCrash().
std::atomic_uint crashes = 1;
static_assert(std::atomic_uint::is_always_lock_free);
constexpr char heldReason[] = "another thread's call hangs in it";
constexpr qint64 headerBytes = 100; // SQLite's file format, section 1.3

/// Describes the exception that is being handled; never empty.
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

// Never called under the lock: a message handler may call anything back.
void logFailure(const char *what, const QString &filePath, const QString &reason)
{
    Database::log(
        QStringLiteral("cannot %1 %2: %3").arg(QString::fromLatin1(what), filePath, reason));
}

/// What open() fails with where SQLite has no word for it.
struct OpenError : std::runtime_error {
    OpenError(Database::OpenFailure why, const std::string &text)
        : std::runtime_error(text), failure(why)
    {
    }
    Database::OpenFailure failure;
};

/// Why opening failed, from the exception that is being handled.
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

/// Sees to it that there is a file to open. True when it was made here.
bool prepareFile(const QString &filePath, bool create)
{
    const QFileInfo info(filePath);
    if (create && !QDir().mkpath(info.path()))
        throw std::runtime_error("its directory cannot be made");
    finishRecovery(filePath);
    // SQLite's own word for this is only "unable to open database file".
    if (info.isDir())
        throw std::runtime_error("it is a directory");
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
        // For a format of the schema that there is not, SQLite has a plain error only.
        if (e.getErrorCode() != SQLITE_ERROR)
            throw;
        verdict = e.what();
    }
    if (verdict != "ok")
        throw SQLite::Exception(verdict, SQLITE_CORRUPT);
}

std::unique_ptr<SQLite::Database> connect(const QString &filePath, const SchemaSteps &steps)
{
    const int current = int(steps.size());
    // Our own mutex is held around every use; SQLite's would be taken once more for each column.
    auto connection = std::make_unique<SQLite::Database>(
        filePath.toStdString(), SQLite::OPEN_READWRITE | SQLite::OPEN_NOMUTEX, busyTimeoutMs);
    try {
        // SQLite fills up what is missing of a header, its version too.
        const qint64 bytes = QFileInfo(filePath).size();
        if (bytes > 0 && bytes < headerBytes)
            throw SQLite::Exception("it ends inside its header", SQLITE_NOTADB);
        // Before anything that could write: a newer version's file is left as it is.
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
        // Even with nothing to migrate: only the write lock tells whether this file can be written.
        SQLite::Transaction transaction(*connection, SQLite::TransactionBehavior::IMMEDIATE);
        migrate(*connection, steps, connection->execAndGet("PRAGMA user_version").getInt(),
                current);
        transaction.commit();
    } catch (const SQLite::Exception &e) {
        // A damaged file is set aside as it was found: do not fold its log into it on the way out.
        if (isDamage(e.getErrorCode()))
            sqlite3_db_config(connection->getHandle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1,
                              nullptr);
        throw;
    }
    return connection;
}

} // namespace

void Database::log(const QString &text)
{
    static const QLoggingCategory category("im.storage");
    ImLog::error(category, QStringLiteral("storage: ") + text.simplified());
}

Database::Database(SchemaSteps steps) : m_steps(std::move(steps)) { }

Database::~Database()
{
    m_openedIn = 0;
    // Not held: nobody is inside, as it should be. Held: a thread died inside after closeInCrash(),
    // and closing is left to the operating system.
    const std::unique_lock lock(m_mutex, std::try_to_lock);
    if (!lock)
        static_cast<void>(m_connection.release());
    else
        m_connection.reset();
}

bool Database::isOpen() const
{
    return m_openedIn == crashes;
}

bool Database::lock(QDeadlineTimer deadline)
{
    const auto left = m_held ? 0 : std::max<qint64>(deadline.remainingTime(), 0);
    m_held = !m_mutex.tryLock(int(left));
    return !m_held;
}

void Database::unlock()
{
    if (m_abandoned.exchange(false))
        m_connection.reset();
    m_held = false;
    m_mutex.unlock();
}

bool Database::open(const QString &filePath, bool create)
{
    if (isOpen())
        return true;
    // An opening under way in a crash ends closed.
    const unsigned now = crashes;
    QString damage;
    QString failure;
    m_openFailure = OpenFailure::None;
    if (!lock(QDeadlineTimer(waitMs))) {
        failure = QString::fromLatin1(heldReason);
        m_openFailure = OpenFailure::Locked;
    } else {
        const auto unlocked = qScopeGuard([this] { unlock(); });
        m_abandoned = false;
        bool created = false;
        try {
            m_connection.reset();
            m_filePath = filePath;
            m_recovered = false;
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
            QFile::setPermissions(filePath, QFile::ReadOwner | QFile::WriteOwner);
            m_connection.reset(new Connection{std::move(connection), {}});
            ++m_openings;
            m_openedIn = now;
        } catch (...) {
            failure = currentReason();
            m_openFailure = currentFailure();
            if (created)
                QFile::remove(filePath);
        }
    }
    if (!damage.isEmpty())
        log(damage);
    if (!failure.isEmpty())
        logFailure("open", filePath, failure);
    return failure.isEmpty();
}

bool Database::close(QDeadlineTimer deadline)
{
    m_openedIn = 0;
    if (!lock(deadline)) {
        m_abandoned = true;
        logFailure("close", m_filePath, QString::fromLatin1(heldReason));
        return false;
    }
    std::shared_ptr<Connection> connection = std::move(m_connection);
    unlock();
    return !connection
        || runUntil(deadline, [closed = std::move(connection)]() mutable { closed.reset(); });
}

void Database::closeInCrash()
{
    m_openedIn = 0;
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
            call = nullptr; // what it holds may take its time to go
            const std::lock_guard lock(progress->mutex);
            progress->done = true;
            progress->changed.notify_all();
        }).detach();
    } catch (const std::system_error &) {
        return false; // no more threads to be had
    }
    std::unique_lock lock(progress->mutex);
    return progress->changed.wait_for(lock, std::chrono::milliseconds(deadline.remainingTime()),
                                      [&] { return progress->done; });
}

bool Database::read(const char *what, const Work &work)
{
    return run(what, false, work);
}

bool Database::write(const char *what, const Work &work)
{
    return run(what, true, work);
}

bool Database::sync()
{
    // Under synchronous=NORMAL the log reaches the disk only with a checkpoint.
    return read("sync", [this] {
        SQLite::Statement &checkpoint = statement("PRAGMA wal_checkpoint(FULL)");
        checkpoint.executeStep();
        const bool isBlocked = checkpoint.getColumn(0).getInt() != 0;
        const bool isPartial = checkpoint.getColumn(1).getInt() != checkpoint.getColumn(2).getInt();
        if (isBlocked || isPartial)
            throw std::runtime_error("another process is using it");
    });
}

bool Database::run(const char *what, bool transaction, const Work &work)
{
    QString path = QStringLiteral("the database");
    const QString failure = [&] {
        // Asked before locking as well: after closeInCrash() the lock may be held for ever.
        const unsigned opening = m_openings;
        if (!isOpen())
            return QStringLiteral("it is closed");
        if (!lock(QDeadlineTimer(waitMs)))
            return QString::fromLatin1(heldReason);
        const auto unlocked = qScopeGuard([this] { unlock(); });
        // Opened anew it may be another file.
        if (!isOpen() || opening != m_openings)
            return QStringLiteral("it is closed");
        // A statement that is not reset keeps its read transaction, and what is bound to it.
        const auto reset = qScopeGuard([this] {
            for (auto &[sql, statement] : m_connection->statements) {
                statement.tryReset();
                statement.clearBindings();
            }
        });
        try {
            if (!transaction) {
                work();
                return QString();
            }
            SQLite::Transaction guard(*m_connection->database,
                                      SQLite::TransactionBehavior::IMMEDIATE);
            work();
            guard.commit();
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
    auto &statements = m_connection->statements;
    auto found = statements.find(sql);
    if (found == statements.end()) {
        std::string text(sql);
        SQLite::Statement compiled(*m_connection->database, text);
        found = statements.emplace(std::move(text), std::move(compiled)).first;
    }
    found->second.tryReset();
    return found->second;
}

} // namespace storage
