#include "settings/settingwriter_p.h"

#include "account/threadmanager.h"
#include "imlog/imlog.h"
#include "storage/settingstorage.h"

#include <QHash>
#include <QLoggingCategory>
#include <QMutex>

#include <mutex>
#include <optional>

namespace
{

Q_LOGGING_CATEGORY(lcWriter, "im.settingmodel.writer")

// A write that hangs must not take the closing application with it.
constexpr int flushMs = 5000;

void logError(const QString &text)
{
    qCWarning(lcWriter).noquote() << text;
    ImLog::error(text);
}

/// Changes as they are to be seen by the store, whatever order they came in.
struct Pending {
    bool wipe = false; // before anything else every row is removed
    QHash<QString, std::optional<storage::SettingInfo>> rows; // nothing: the row is removed

    bool isEmpty() const { return !wipe && rows.isEmpty(); }

    /// Puts changes that are older than these underneath them.
    void mergeOlder(Pending &&older)
    {
        if (wipe)
            return;
        wipe = older.wipe;
        older.rows.insert(rows);
        rows = std::move(older.rows);
    }

    storage::SettingChanges toChanges() const
    {
        storage::SettingChanges changes;
        changes.removeAll = wipe;
        changes.saved.reserve(rows.size());
        for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
            if (row.value())
                changes.saved.append(*row.value());
            else
                changes.removed.append(row.key());
        }
        return changes;
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
            const std::lock_guard lock(m_mutex);
            change(m_pending);
            if (std::exchange(m_posted, true))
                return;
        }
        ThreadManager::invoke([state = shared_from_this()] { state->run(); }, true);
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
        const std::lock_guard lock(m_mutex);
        return m_pending.rows.size() + m_pending.wipe;
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
            const std::lock_guard lock(m_mutex);
            taken = std::exchange(m_pending, {});
            m_posted = false;
        }
        if (taken.isEmpty())
            return true;
        if (m_storage->apply(taken.toChanges())) {
            m_failing = false;
            return true;
        }
        if (!std::exchange(m_failing, true))
            logError(QStringLiteral("Settings cannot be stored now; they are tried again later"));
        const std::lock_guard lock(m_mutex);
        m_pending.mergeOlder(std::move(taken));
        return false;
    }

    // Held over the taking of a pending set and its transaction, which keeps the order of sets.
    QMutex m_writing;
    storage::SettingStorage *m_storage; // null once closed
    bool m_failing = false;             // the last transaction failed, which has been logged

    std::mutex m_mutex; // guards what follows; held for moments only
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
    d->add([&](Pending &pending) {
        const QString key = info.key;
        pending.rows.insert(key, std::move(info));
    });
}

void SettingWriter::remove(const QString &key)
{
    d->add([&](Pending &pending) { pending.rows.insert(key, std::nullopt); });
}

void SettingWriter::removeAll(const QList<storage::SettingInfo> &kept)
{
    d->add([&](Pending &pending) {
        pending = {.wipe = true, .rows = {}};
        for (const storage::SettingInfo &info : kept)
            pending.rows.insert(info.key, info);
    });
}

bool SettingWriter::flush()
{
    return d->flush(false);
}
