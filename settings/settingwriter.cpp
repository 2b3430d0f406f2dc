#include "settings/settingwriter_p.h"

#include "account/threadmanager.h"
#include "imlog/imlog.h"
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

Q_LOGGING_CATEGORY(lcWriter, "im.settingmodel.writer")

// What changes at all often changes again at once: a window is resized, a page of options applied. The
// save thread waits this long for it, so that neither it nor the disk works on each change alone.
constexpr int gatherMs = 1;

// A write that hangs must not take the closing application with it.
constexpr int flushMs = 5000;

void logError(const QString &text)
{
    qCWarning(lcWriter).noquote() << text;
    ImLog::error(text);
}

/// One row that is to change.
struct Change {
    storage::SettingInfo info;
    bool removed = false; // only the key counts then
};

/// Changes in the order in which they came. Who makes one only appends; that of equal keys the last
/// one counts is seen to by the thread that writes.
struct Pending {
    bool wipe = false; // before anything else every row is removed
    std::vector<Change> changes;
    std::size_t compactAt = 4096; // so that nothing grows for ever where nothing can be written

    bool isEmpty() const { return !wipe && changes.empty(); }

    void append(Change &&change)
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
        const auto superseded = [&](const Change &change) {
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

    storage::SettingChanges toChanges() const
    {
        storage::SettingChanges result;
        result.removeAll = wipe;
        result.saved.reserve(qsizetype(changes.size()));
        for (const Change &change : changes) {
            if (change.removed)
                result.removed.append(change.info.key);
            else
                result.saved.append(change.info);
        }
        return result;
    }
};

} // namespace

class SettingWriter::State : public std::enable_shared_from_this<SettingWriter::State>
{
public:
    explicit State(storage::SettingStorage *storage) : m_storage(storage) { }

    /// Lets `change` alter the pending set and sees to it that a task will write it.
    template <typename Change>
    void add(Change change)
    {
        {
            const QMutexLocker lock(&m_mutex);
            change(m_pending);
            if (std::exchange(m_posted, true))
                return;
        }
        ThreadManager::invoke(
            [state = shared_from_this(), caller = QThread::currentThreadId()] {
                if (QThread::currentThreadId() != caller)
                    QThread::msleep(gatherMs);
                state->run();
            },
            true);
    }

    bool flush(bool close)
    {
        if (!m_writing.tryLock(flushMs)) {
            logError(QStringLiteral("A write of settings hangs; later changes may be lost"));
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

private:
    void run()
    {
        const QMutexLocker lock(&m_writing);
        if (m_storage)
            write();
    }

    /// Writes what is pending; `m_writing` is held and the storage is there.
    bool write()
    {
        Pending taken;
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
            logError(QStringLiteral("Settings cannot be stored now; they are tried again later"));
        const QMutexLocker lock(&m_mutex);
        m_pending.prepend(std::move(taken));
        return false;
    }

    // Held over the taking of a pending set and its transaction, which keeps the order of sets.
    QMutex m_writing;
    storage::SettingStorage *m_storage; // null once closed
    bool m_failing = false;             // the last transaction failed, which has been logged

    QMutex m_mutex; // guards what follows; held for moments only
    Pending m_pending;
    bool m_posted = false; // a task that has not begun will take the pending set
};

SettingWriter::SettingWriter(storage::SettingStorage *storage) : d(std::make_shared<State>(storage))
{
}

SettingWriter::~SettingWriter()
{
    d->flush(true);
    if (const qsizetype lost = d->pendingCount())
        logError(QStringLiteral("Settings that could not be stored are lost: %1").arg(lost));
}

void SettingWriter::save(storage::SettingInfo info)
{
    // It would fail every transaction that it is in, and with it all other settings.
    if (!storage::SettingStorage::isStorable(info.value)) {
        logError(QStringLiteral("A setting of type %1 cannot be stored: %2")
                     .arg(QLatin1StringView(info.value.typeName()), info.key.left(64)));
        return;
    }
    d->add([&](Pending &pending) { pending.append({std::move(info)}); });
}

void SettingWriter::remove(const QString &key)
{
    d->add([&](Pending &pending) { pending.append({{key, {}, {}}, true}); });
}

void SettingWriter::removeAll(const QList<storage::SettingInfo> &kept)
{
    d->add([&](Pending &pending) {
        pending = {};
        pending.wipe = true;
        for (const storage::SettingInfo &info : kept)
            pending.append({info});
    });
}

bool SettingWriter::flush()
{
    return d->flush(false);
}
