#include "settings/storewriter_p.h"

#include "account/threadmanager.h"
#include "imlog/imlog.h"
#include "storage/configstorage.h"
#include "storage/settingstorage.h"

#include <QLoggingCategory>
#include <QMutex>
#include <QSet>
#include <QThread>

#include <algorithm>
#include <utility>
#include <vector>

namespace
{

Q_LOGGING_CATEGORY(lcWriter, "im.settingmodel")

// What changes at all often changes again at once: a window is resized, a page of options applied. The
// save thread waits this long for it, so that neither it nor the disk works on each change alone.
constexpr int gatherMs = 1;

// A write that hangs must not take the closing application with it.
constexpr int flushMs = 5000;

/// One row that is to change.
template <typename Info>
struct Change {
    Info info;
    bool removed = false; // only the key counts then
};

/// Changes in the order in which they came. Who makes one only appends; that of equal keys the last
/// one counts is seen to by the thread that writes.
template <typename Info>
struct Pending {
    bool wipe = false; // before anything else every row is removed
    std::vector<Change<Info>> changes;
    std::size_t compactAt = 4096; // so that nothing grows for ever where nothing can be written

    bool isEmpty() const { return !wipe && changes.empty(); }

    void append(Change<Info> &&change)
    {
        // A slider that is dragged changes one setting many times.
        if (!changes.empty() && changes.back().info.key == change.info.key) {
            changes.back() = std::move(change);
            return;
        }
        changes.push_back(std::move(change));
        if (changes.size() >= compactAt) {
            compact();
            compactAt = std::max(compactAt, 2 * changes.size());
        }
    }

    /// Leaves one change for a key, the last.
    void compact()
    {
        QSet<QString> seen;
        seen.reserve(qsizetype(changes.size()));
        const auto superseded = [&](const Change<Info> &change) {
            const qsizetype before = seen.size();
            seen.insert(change.info.key);
            return seen.size() == before;
        };
        const auto kept = std::remove_if(changes.rbegin(), changes.rend(), superseded);
        changes.erase(changes.begin(), kept.base());
    }

    /// Puts changes that are older than these before them.
    void prepend(Pending &&older)
    {
        if (wipe)
            return;
        wipe = older.wipe;
        std::move(changes.begin(), changes.end(), std::back_inserter(older.changes));
        changes = std::move(older.changes);
        compact();
    }

    storage::Changes<Info> toChanges() const
    {
        storage::Changes<Info> result;
        result.removeAll = wipe;
        result.saved.reserve(qsizetype(changes.size()));
        for (const Change<Info> &change : changes) {
            if (change.removed)
                result.removed.append(change.info.key);
            else
                result.saved.append(change.info);
        }
        return result;
    }

    /// The rows as they will be.
    QList<Info> appliedTo(const QList<Info> &stored)
    {
        if (isEmpty())
            return stored;
        compact();
        QSet<QString> changed;
        for (const Change<Info> &change : changes)
            changed.insert(change.info.key);
        QList<Info> infos = toChanges().saved;
        for (const Info &info : stored) {
            if (!wipe && !changed.contains(info.key))
                infos.append(info);
        }
        return infos;
    }
};

} // namespace

template <typename Storage, typename Info>
class StoreWriter<Storage, Info>::State : public std::enable_shared_from_this<State>
{
public:
    explicit State(Storage *storage) : m_storage(storage) { }

    /// Lets `change` alter the pending set. True when no task is under way that will write it.
    template <typename Alter>
    bool add(Alter change)
    {
        const QMutexLocker lock(&m_mutex);
        change(m_pending);
        return !std::exchange(m_posted, true);
    }

    void post(bool async)
    {
        ThreadManager::invoke(
            [state = this->shared_from_this(), caller = QThread::currentThreadId()] {
                if (QThread::currentThreadId() != caller)
                    QThread::msleep(gatherMs);
                state->run();
            },
            async);
    }

    void run()
    {
        const QMutexLocker lock(&m_writing);
        if (m_storage)
            write();
    }

    bool flush(bool close)
    {
        if (!m_writing.tryLock(flushMs)) {
            ImLog::error(lcWriter(),
                         QStringLiteral("A write to a store hangs; later changes may be lost"));
            return false;
        }
        bool done = true;
        if (m_storage) {
            done = write();
            if (close)
                m_storage = nullptr;
        }
        m_writing.unlock();
        return done;
    }

    qsizetype pendingCount()
    {
        const QMutexLocker lock(&m_mutex);
        return qsizetype(m_pending.changes.size()) + m_pending.wipe;
    }

    QList<Info> allInfos()
    {
        // Meanwhile nobody takes what is pending, so that each change is in one of the two.
        const QMutexLocker lock(&m_writing);
        write();
        const QList<Info> stored = m_storage->allInfos();
        const QMutexLocker pendingLock(&m_mutex);
        return m_pending.appliedTo(stored);
    }

private:
    /// Writes what is pending; `m_writing` is held and the storage is there.
    bool write()
    {
        Pending<Info> taken;
        {
            const QMutexLocker lock(&m_mutex);
            taken = std::exchange(m_pending, {});
            m_posted = false;
        }
        if (taken.isEmpty())
            return true;
        taken.compact();
        if (m_storage->apply(taken.toChanges())) {
            m_failing = false;
            return true;
        }
        if (!std::exchange(m_failing, true))
            ImLog::error(
                lcWriter(),
                QStringLiteral("Changes cannot be stored now; they are tried again later"));
        const QMutexLocker lock(&m_mutex);
        m_pending.prepend(std::move(taken));
        return false;
    }

    // Held over the taking of a pending set and its transaction, which keeps the order of sets.
    QMutex m_writing;
    Storage *m_storage;     // null once closed
    bool m_failing = false; // the last transaction failed, which has been logged

    QMutex m_mutex; // guards what follows; held for moments only
    Pending<Info> m_pending;
    bool m_posted = false; // who set this lets a task take the pending set
};

template <typename Storage, typename Info>
StoreWriter<Storage, Info>::StoreWriter(Storage *storage) : d(std::make_shared<State>(storage))
{
}

template <typename Storage, typename Info>
StoreWriter<Storage, Info>::~StoreWriter()
{
    d->flush(true);
    if (const qsizetype lost = d->pendingCount())
        ImLog::error(lcWriter(),
                     QStringLiteral("Changes that could not be stored are lost: %1").arg(lost));
}

template <typename Storage, typename Info>
bool StoreWriter<Storage, Info>::accepts(const QString &key, const QVariant &value)
{
    if (storage::SettingStorage::isStorable(value))
        return true;
    ImLog::error(lcWriter(),
                 QStringLiteral("A value of type %1 cannot be stored: %2")
                     .arg(QLatin1StringView(value.typeName()), key.left(64)));
    return false;
}

template <typename Storage, typename Info>
bool StoreWriter<Storage, Info>::put(Info info)
{
    return d->add([&](Pending<Info> &pending) { pending.append({std::move(info)}); });
}

template <typename Storage, typename Info>
bool StoreWriter<Storage, Info>::putRemoval(const QString &key)
{
    return d->add([&](Pending<Info> &pending) {
        Info info;
        info.key = key;
        pending.append({std::move(info), true});
    });
}

template <typename Storage, typename Info>
void StoreWriter<Storage, Info>::write(bool async)
{
    d->post(async);
}

template <typename Storage, typename Info>
void StoreWriter<Storage, Info>::save(Info info)
{
    if (accepts(info.key, info.value) && put(std::move(info)))
        write();
}

template <typename Storage, typename Info>
void StoreWriter<Storage, Info>::save(QList<Info> infos)
{
    infos.removeIf([](const Info &info) { return !accepts(info.key, info.value); });
    const bool first = d->add([&](Pending<Info> &pending) {
        for (Info &info : infos)
            pending.append({std::move(info)});
    });
    if (first)
        write();
}

template <typename Storage, typename Info>
void StoreWriter<Storage, Info>::remove(const QString &key)
{
    if (putRemoval(key))
        write();
}

template <typename Storage, typename Info>
void StoreWriter<Storage, Info>::removeAll(const QList<Info> &kept)
{
    const bool first = d->add([&](Pending<Info> &pending) {
        pending = {};
        pending.wipe = true;
        for (const Info &info : kept)
            pending.append({info});
    });
    if (first)
        write();
}

template <typename Storage, typename Info>
bool StoreWriter<Storage, Info>::flush()
{
    return d->flush(false);
}

template <typename Storage, typename Info>
QList<Info> StoreWriter<Storage, Info>::allInfos()
{
    return d->allInfos();
}

template class StoreWriter<storage::SettingStorage, storage::SettingInfo>;
template class StoreWriter<storage::ConfigStorage, storage::ConfigInfo>;
