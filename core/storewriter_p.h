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
/// Changes gather in a pending set. One task of ThreadManager writes the whole set as one
/// transaction: however many changes there are, each is cheap for its caller, and a kill always
/// leaves the store in a state that it was meant to have. Another task syncs the write within a
/// second, so that a power cut does not undo it; without the save thread, the next change after
/// that second does. flush() syncs at once.
///
/// When the store refuses (full disk, database closed), the changes stay pending, and the next
/// change or flush() tries again; one log line reports it.
///
/// Thread: any. No lock is held while the store is called: handlers of its log lines may use the
/// writer. A call waits 5 seconds for a write in another thread; after that, no call waits until
/// that write ends. The writer may be destroyed while one of its tasks still waits or hangs.
class StoreWriter
{
public:
    /// @param storage where to write; copied, see RowStorage
    explicit StoreWriter(const storage::RowStorage &storage);
    /// Closes, within 5 seconds.
    ~StoreWriter();
    /// Releases the store for good: flushes if it is open, until `deadline` at most, whatever the
    /// disk does. Changes not written by then are lost, with a log line that names the keys; later
    /// changes are never written. False when a write still hangs in another thread.
    bool close(QDeadlineTimer deadline = QDeadlineTimer(5000));

    // In steps, for callers that order their changes by a lock of their own:

    /// False, with a log line, for a value that no row can hold. Such a value would fail its whole
    /// transaction, with all other changes in it.
    static bool accepts(const QString &key, const QVariant &value);
    /// Adds an accepted change to the pending set; calls nothing else. If it returns true, the
    /// caller must call write() after releasing its lock: no one else does.
    [[nodiscard]] bool put(storage::Row row);
    /// The same for rows that go into one transaction.
    [[nodiscard]] bool put(QList<storage::Row> rows);
    [[nodiscard]] bool putRemoval(const QString &key);
    /// Removes all rows except `kept`.
    [[nodiscard]] bool putRemovalOfAll(const QList<storage::Row> &kept);
    /// Posts a task that writes the pending changes.
    void write();

    // All steps in one call:

    void save(storage::Row row);
    void remove(const QString &key);
    /// Removes everything except `kept`, in one transaction.
    void removeAll(const QList<storage::Row> &kept = {});

    /// Writes the pending changes on the calling thread, after waiting for a write under way; a
    /// power cut may undo it. True when nothing is left to write.
    bool writeNow();
    /// The same and syncs. True when no power cut can undo any change made before.
    bool flush();
    /// The same on a separate thread, until `deadline` at most, whatever the disk does.
    bool flush(QDeadlineTimer deadline);
    /// All rows after the pending changes, which are written first if possible.
    QList<storage::Row> allInfos();

private:
    Q_DISABLE_COPY_MOVE(StoreWriter)

    class State;
    const std::shared_ptr<State> d; // shared with the tasks
};
