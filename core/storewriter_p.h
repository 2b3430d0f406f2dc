#pragma once

#include <QDeadlineTimer>
#include <QList>
#include <QString>
#include <QVariant>

#include <memory>

namespace storage
{
class RowStorage;
struct Row;
} // namespace storage

/// Makes the changes of one store durable, in order and in the background.
///
/// Changes gather in a pending set, and one task of ThreadManager writes whatever has gathered when
/// its turn comes, as one transaction: however many changes come in, each is cheap for its caller,
/// and what survives a kill is always a state that the store was meant to have. What was written is
/// synced within a second by another task, so that a power cut does not take it back; without the
/// save thread, with the next change after that second. flush() syncs at once.
///
/// When the store refuses (full disk, database closed), the changes stay pending and are tried
/// again with the next change and by flush(); one log line tells of it.
///
/// Thread: any. No lock is held while the store is called: handlers of what it logs may use the
/// writer. Whoever writes waits 5 seconds for another thread that does, and then no more until that
/// one is through. The writer may be destroyed while a task of it still waits or hangs.
class StoreWriter
{
public:
    /// @param storage where to write; copied, see RowStorage
    explicit StoreWriter(const storage::RowStorage &storage);
    /// Closes, within 5 seconds.
    ~StoreWriter();
    /// Lets go of the store for good: flushes where it is open, until `deadline` at most, whatever
    /// the disk does. What is not written by then is lost, with a log line that names the keys, and
    /// what comes later is never written. False when a write still hangs in another thread.
    bool close(QDeadlineTimer deadline = QDeadlineTimer(5000));

    // In steps, for callers that order their changes by a lock of their own:

    /// False, with a log line, for what no row can hold. Such a value would fail every transaction
    /// that it is in, and with it all other changes.
    static bool accepts(const QString &key, const QVariant &value);
    /// Add a change (one that is accepted) to the pending set; nothing is called. Who gets true
    /// calls write() once the lock is let go: nobody else does.
    [[nodiscard]] bool put(storage::Row row);
    /// Of rows that go into one transaction.
    [[nodiscard]] bool put(QList<storage::Row> rows);
    [[nodiscard]] bool putRemoval(const QString &key);
    /// Of all rows but `kept`.
    [[nodiscard]] bool putRemovalOfAll(const QList<storage::Row> &kept);
    /// Has what is pending written by a task.
    void write();

    // All of these in one:

    void save(storage::Row row);
    void remove(const QString &key);
    /// Wipes the store down to `kept`, in one step that cannot be torn.
    void removeAll(const QList<storage::Row> &kept = {});

    /// Writes what is pending on the calling thread, after waiting for a write under way; a power cut
    /// may take it back. True when nothing is left to write.
    bool writeNow();
    /// The same and syncs. True when no power cut takes back any change made before.
    bool flush();
    /// That on a thread of its own, until `deadline` at most, whatever the disk does.
    bool flush(QDeadlineTimer deadline);
    /// All rows as they are once what is pending has been written, which is tried first.
    QList<storage::Row> allInfos();

private:
    Q_DISABLE_COPY_MOVE(StoreWriter)

    class State;
    const std::shared_ptr<State> d; // shared with the task
};
