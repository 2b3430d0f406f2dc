#include "core/storewriter_p.h"

#include "core/logs_p.h"
#include "core/workers_p.h"
#include "imlog/imlog.h"
#include "storage/rowstorage.h"

#include <QMutex>
#include <QSet>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace
{

// Changes come in groups: a window is resized, a page of options applied. The save thread waits
// this long for more, so that it does not write each change separately.
constexpr int gatherMs = 1;

// Limit of the wait for a write under way in another thread, and for the final flush.
constexpr int waitMs = 5000;

// From a write to its sync: many writes come in that time and share one sync.
constexpr int syncMs = 1000;

constexpr int namedKeys = 20; // the log names at most as many
constexpr int loggedKeyLength = 64;

/// One row to change.
struct Change {
    storage::Row row;
    bool removed = false; // then only the key is used
};

/// Changes in order of arrival. A caller only appends; the writing thread keeps the last change of
/// each key.
struct Pending {
    bool wipe = false; // remove every row first
    std::vector<Change> changes;
    std::size_t compactAt = 4096; // bounds the growth while writes fail

    bool isEmpty() const { return !wipe && changes.empty(); }

    void append(Change &&change)
    {
        // Dragging a slider changes one setting many times.
        if (!changes.empty() && changes.back().row.key == change.row.key) {
            changes.back() = std::move(change);
            return;
        }
        changes.push_back(std::move(change));
        if (changes.size() >= compactAt) {
            compact();
            compactAt = std::max(compactAt, 2 * changes.size());
        }
    }

    /// Keeps only the last change of each key.
    void compact()
    {
        QSet<QString> seen;
        seen.reserve(qsizetype(changes.size()));
        const auto superseded = [&](const Change &change) {
            const qsizetype before = seen.size();
            seen.insert(change.row.key);
            return seen.size() == before;
        };
        const auto kept = std::remove_if(changes.rbegin(), changes.rend(), superseded);
        changes.erase(changes.begin(), kept.base());
    }

    /// Puts older changes before these.
    void prepend(Pending &&older)
    {
        if (wipe)
            return;
        wipe = older.wipe;
        std::move(changes.begin(), changes.end(), std::back_inserter(older.changes));
        changes = std::move(older.changes);
        compact();
    }

    QStringList keys()
    {
        compact();
        QStringList keys;
        if (wipe)
            keys.append(QStringLiteral("all"));
        for (const Change &change : changes)
            keys.append(change.row.key.left(loggedKeyLength));
        return keys;
    }

    storage::Changes toChanges() const
    {
        storage::Changes result;
        result.removeAll = wipe;
        result.saved.reserve(qsizetype(changes.size()));
        for (const Change &change : changes) {
            if (change.removed)
                result.removed.append(change.row.key);
            else
                result.saved.append(change.row);
        }
        return result;
    }

    /// The rows as they will be.
    QList<storage::Row> appliedTo(const QList<storage::Row> &stored)
    {
        if (isEmpty())
            return stored;
        compact();
        QSet<QString> changed;
        for (const Change &change : changes)
            changed.insert(change.row.key);
        QList<storage::Row> rows = toChanges().saved;
        for (const storage::Row &row : stored) {
            if (!wipe && !changed.contains(row.key))
                rows.append(row);
        }
        return rows;
    }
};

} // namespace

/// Only one thread writes at a time, and it holds no lock: a handler of what the store logs may
/// call anything, and a write that hangs blocks only callers that wait for it.
class StoreWriter::State : public std::enable_shared_from_this<State>
{
public:
    explicit State(const storage::RowStorage &storage) : m_storage(storage) { }

    /// Lets `change` alter the pending set. True when no task is under way to write it.
    template <typename Alter>
    bool add(Alter change)
    {
        const QMutexLocker lock(&m_mutex);
        if (m_closed)
            return false;
        change(m_pending);
        return !std::exchange(m_posted, true);
    }

    void post()
    {
        Workers::invoke(
            [task = std::make_shared<Task>(this->shared_from_this()),
             caller = QThread::currentThreadId()] {
                task->run(QThread::currentThreadId() != caller);
            },
            true);
    }

    bool writeNow(QDeadlineTimer deadline, bool bounded)
    {
        switch (begin(deadline)) {
        case Begun::No:
            ImLog::error(lcSettings(),
                         QStringLiteral("A write to the store hangs; later changes may be lost"));
            return false;
        case Begun::Inside:
            return false;
        case Begun::Yes:
            break;
        }
        return write(bounded ? deadline : std::optional<QDeadlineTimer>());
    }

    bool flush(QDeadlineTimer deadline, bool bounded)
    {
        const QDeadlineTimer syncDeadline = bounded ? deadline : QDeadlineTimer::Forever;
        // A store that is closed now has synced its writes, except in a crash.
        return writeNow(deadline, bounded)
            && (m_storage.isOpen() ? m_storage.sync(syncDeadline) : !m_storage.closedInCrash());
    }

    bool close(QDeadlineTimer deadline)
    {
        if (m_storage.isOpen())
            flush(deadline, true);
        QStringList lost;
        bool hangs;
        {
            const QMutexLocker lock(&m_mutex);
            m_closed = true;
            hangs = m_writing;
            m_pending.prepend(std::exchange(m_taken, {}));
            lost = std::exchange(m_pending, {}).keys();
        }
        if (!lost.isEmpty()) {
            ImLog::error(lcSettings(),
                         QStringLiteral("Lost changes that could not be stored: %1 (%2)")
                             .arg(lost.size())
                             .arg(lost.mid(0, namedKeys).join(QStringLiteral(", "))));
        }
        return !hangs;
    }

    /// After a write: schedules its sync.
    void syncSoon()
    {
        {
            const QMutexLocker lock(&m_mutex);
            if (!m_nextSync.hasExpired())
                return;
            m_nextSync.setRemainingTime(syncMs);
        }
        const auto sync = [weak = this->weak_from_this()] {
            const std::shared_ptr<State> state = weak.lock();
            if (state && state->m_storage.isOpen())
                state->m_storage.sync();
        };
        if (Workers::invokeLater(sync, syncMs))
            return;
        {
            const QMutexLocker lock(&m_mutex);
            m_nextSync = {};
            if (!m_nextDirectSync.hasExpired())
                return;
            m_nextDirectSync.setRemainingTime(syncMs);
        }
        sync();
    }

    QList<storage::Row> allInfos()
    {
        // Meanwhile no one takes the pending changes, so each change is either pending or stored.
        const bool begun = begin(QDeadlineTimer(waitMs)) == Begun::Yes;
        if (begun)
            writeOnce({});
        const QList<storage::Row> stored = m_storage.allInfos();
        QList<storage::Row> rows;
        {
            const QMutexLocker lock(&m_mutex);
            rows = m_pending.appliedTo(stored);
        }
        while (begun && !end(true))
            writeOnce({});
        syncSoon();
        return rows;
    }

private:
    class Task
    {
    public:
        explicit Task(std::shared_ptr<State> state) : m_state(std::move(state)) { }
        ~Task()
        {
            if (m_hasRun)
                return;
            // The task was dropped: the next change posts another.
            const QMutexLocker lock(&m_state->m_mutex);
            m_state->m_posted = false;
        }
        Q_DISABLE_COPY_MOVE(Task)
        void run(bool gather)
        {
            m_hasRun = true;
            m_state->run(gather);
        }

    private:
        const std::shared_ptr<State> m_state;
        bool m_hasRun = false;
    };

    /// Does not wait for another thread that writes: that thread writes the pending changes, too.
    void run(bool gather)
    {
        {
            QMutexLocker lock(&m_mutex);
            if (gather && !m_pending.isEmpty()) {
                lock.unlock();
                QThread::msleep(gatherMs);
                lock.relock();
            }
            m_posted = false;
            m_again = m_writing;
            if (m_writing || m_closed || m_pending.isEmpty())
                return;
            m_writing = true;
            m_writingThread = QThread::currentThreadId();
        }
        if (write({}))
            syncSoon();
    }

    enum class Begun { Yes, No, Inside };
    /// Makes this thread the writing one as soon as no other writes. No: `deadline` has passed, or
    /// others have waited as long without success. Inside: a handler of this thread's own write
    /// calls.
    Begun begin(QDeadlineTimer deadline)
    {
        const Qt::HANDLE self = QThread::currentThreadId();
        std::unique_lock lock(m_mutex);
        if (m_writing && m_writingThread == self)
            return Begun::Inside;
        const auto left = m_hangs ? 0 : std::max<qint64>(deadline.remainingTime(), 0);
        m_hangs = !m_changed.wait_for(lock, std::chrono::milliseconds(left),
                                      [this] { return !m_writing; });
        if (m_hangs)
            return Begun::No;
        m_writing = true;
        m_writingThread = self;
        return Begun::Yes;
    }

    /// False when it continues: more changes arrived meanwhile.
    bool end(bool mayGoOn = false)
    {
        const QMutexLocker lock(&m_mutex);
        if (std::exchange(m_again, false) && mayGoOn && !m_closed)
            return false;
        m_writing = false;
        m_hangs = false;
        m_changed.notify_all();
        return true;
    }

    /// Writes the pending changes after begin(), and ends the write.
    bool write(std::optional<QDeadlineTimer> deadline)
    {
        bool done;
        do {
            done = writeOnce(deadline);
        } while (!end(done));
        if (m_failing.exchange(!done) || done)
            return done;
        ImLog::error(lcSettings(), QStringLiteral("Cannot store changes now; will try again"));
        return false;
    }

    bool writeOnce(std::optional<QDeadlineTimer> deadline)
    {
        Pending taken;
        {
            const QMutexLocker lock(&m_mutex);
            taken = std::exchange(m_pending, {});
        }
        if (taken.isEmpty())
            return true;
        taken.compact();
        const storage::Changes changes = taken.toChanges();
        {
            const QMutexLocker lock(&m_mutex);
            m_taken = std::move(taken);
        }
        const bool done = deadline ? m_storage.apply(changes, *deadline) : m_storage.apply(changes);
        const QMutexLocker lock(&m_mutex);
        taken = std::exchange(m_taken, {});
        if (!done && !m_closed)
            m_pending.prepend(std::move(taken));
        return done;
    }

    storage::RowStorage m_storage;      // a copy: it may outlive the provider
    std::atomic_bool m_failing = false; // the last write failed, and that was logged

    QMutex m_mutex;                        // guards what follows; held briefly only
    std::condition_variable_any m_changed; // a thread has written
    Pending m_pending;
    Pending m_taken;       // being written
    bool m_posted = false; // a task will take the pending set
    bool m_writing = false;
    bool m_again = false; // the writing thread writes once more
    bool m_hangs = false; // a wait for the writing thread timed out
    bool m_closed = false;
    QDeadlineTimer m_nextSync;       // a task waits until then
    QDeadlineTimer m_nextDirectSync; // without the save thread
    Qt::HANDLE m_writingThread = nullptr;
};

StoreWriter::StoreWriter(const storage::RowStorage &storage) : d(std::make_shared<State>(storage))
{
}

StoreWriter::~StoreWriter()
{
    close();
}

bool StoreWriter::close(QDeadlineTimer deadline)
{
    return d->close(deadline);
}

bool StoreWriter::accepts(const QString &key, const QVariant &value)
{
    if (storage::RowStorage::isStorable(value))
        return true;
    ImLog::error(lcSettings(),
                 QStringLiteral("A value of type %1 cannot be stored: %2")
                     .arg(QLatin1StringView(value.typeName()), key.left(loggedKeyLength)));
    return false;
}

bool StoreWriter::put(storage::Row row)
{
    return d->add([&](Pending &pending) { pending.append({std::move(row)}); });
}

bool StoreWriter::put(QList<storage::Row> rows)
{
    return d->add([&](Pending &pending) {
        for (storage::Row &row : rows)
            pending.append({std::move(row)});
    });
}

bool StoreWriter::putRemoval(const QString &key)
{
    return d->add([&](Pending &pending) { pending.append({{key, {}}, true}); });
}

void StoreWriter::write()
{
    d->post();
}

void StoreWriter::save(storage::Row row)
{
    if (accepts(row.key, row.value) && put(std::move(row)))
        write();
}

void StoreWriter::remove(const QString &key)
{
    if (putRemoval(key))
        write();
}

bool StoreWriter::putRemovalOfAll(const QList<storage::Row> &kept)
{
    return d->add([&](Pending &pending) {
        pending = {};
        pending.wipe = true;
        for (const storage::Row &row : kept)
            pending.append({row});
    });
}

void StoreWriter::removeAll(const QList<storage::Row> &kept)
{
    if (putRemovalOfAll(kept))
        write();
}

bool StoreWriter::writeNow()
{
    const bool done = d->writeNow(QDeadlineTimer(waitMs), false);
    if (done)
        d->syncSoon();
    return done;
}

bool StoreWriter::flush()
{
    return d->flush(QDeadlineTimer(waitMs), false);
}

bool StoreWriter::flush(QDeadlineTimer deadline)
{
    return d->flush(deadline, true);
}

QList<storage::Row> StoreWriter::allInfos()
{
    return d->allInfos();
}
