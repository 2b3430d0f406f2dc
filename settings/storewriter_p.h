#pragma once

#include <QList>
#include <QString>
#include <QVariant>

#include <memory>

namespace storage
{
class ConfigStorage;
class SettingStorage;
struct ConfigInfo;
struct SettingInfo;
} // namespace storage

/// Makes the changes of one store durable, in order and in the background.
///
/// Changes gather in a pending set, and one task of ThreadManager writes whatever has gathered when
/// its turn comes, as one transaction: however many changes come in, each is cheap for its caller,
/// and what survives a kill is always a state that the store was meant to have.
///
/// When the store refuses (full disk, database closed), the changes stay pending and are tried
/// again with the next change and by flush(); one log line tells of it.
///
/// Thread: any. The writer may be destroyed while a task of it still waits.
template <typename Storage, typename Info>
class StoreWriter
{
public:
    /// @param storage where to write; not owned, has to outlive the writer
    explicit StoreWriter(Storage *storage);
    /// As close().
    ~StoreWriter();

    // In steps, for callers that order their changes by a lock of their own:

    /// False, with a log line, for what no row can hold. Such a value would fail every transaction
    /// that it is in, and with it all other changes.
    static bool accepts(const QString &key, const QVariant &value);
    /// Add a change (one that is accepted) to the pending set; nothing is called. Who gets true
    /// calls write() once the lock is let go: nobody else does.
    [[nodiscard]] bool put(Info info);
    [[nodiscard]] bool putRemoval(const QString &key);
    /// Has what is pending written: by a task, or with `async` false before the call returns, after
    /// what other threads are writing.
    void write(bool async = true);

    /// All of these.
    void save(Info info);
    /// Rows that go into one transaction.
    void save(QList<Info> infos);
    void remove(const QString &key);
    /// Wipes the store down to `kept`, in one step that cannot be torn.
    void removeAll(const QList<Info> &kept = {});

    /// Writes what is pending on the calling thread, after waiting for a write under way. True when
    /// nothing is left to write.
    bool flush();
    /// Lets go of the store for good: flushes where it is open; what cannot be written then is lost,
    /// and named in the log. False when a write hangs, so that it may still reach the store.
    bool close();
    /// All rows as they are once what is pending has been written, which is tried first.
    QList<Info> allInfos();

private:
    Q_DISABLE_COPY_MOVE(StoreWriter)

    class State;
    const std::shared_ptr<State> d; // shared with the task
};

extern template class StoreWriter<storage::SettingStorage, storage::SettingInfo>;
extern template class StoreWriter<storage::ConfigStorage, storage::ConfigInfo>;

class SettingWriter : public StoreWriter<storage::SettingStorage, storage::SettingInfo>
{
    using StoreWriter::StoreWriter;
};
