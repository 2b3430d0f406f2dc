#pragma once

#include <QList>
#include <QString>

#include <memory>

namespace storage
{
class SettingStorage;
struct SettingInfo;
} // namespace storage

/// Makes the changes of one setting store durable, in order and in the background.
///
/// Changes gather in a pending set, and one task of ThreadManager writes whatever has gathered when
/// its turn comes, as one transaction: however many changes come in, each is cheap for its caller,
/// and what survives a kill is always a state that the store was meant to have.
///
/// When the store refuses (full disk, database closed), the changes stay pending and are tried
/// again with the next change and by flush(); one log line tells of it.
///
/// Thread: any. The writer may be destroyed while a task of it still waits.
class SettingWriter
{
public:
    /// @param storage where to write; not owned, has to outlive the writer
    explicit SettingWriter(storage::SettingStorage *storage);
    /// Flushes. What cannot be written now is lost, with a log line.
    ~SettingWriter();

    void save(storage::SettingInfo info);
    /// Rows that go into one transaction.
    void save(QList<storage::SettingInfo> infos);
    void remove(const QString &key);
    /// Wipes the store down to `kept`, in one step that cannot be torn.
    void removeAll(const QList<storage::SettingInfo> &kept = {});

    /// Writes what is pending on the calling thread, after waiting for a write under way. True when
    /// nothing is left to write.
    bool flush();

private:
    Q_DISABLE_COPY_MOVE(SettingWriter)

    class State;
    const std::shared_ptr<State> d; // shared with the task
};
