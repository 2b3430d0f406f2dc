#pragma once

#include "core/storewriter_p.h"
#include "core/valuecache_p.h"

#include <memory>
#include <mutex>
#include <optional>
#include <unordered_set>
#include <utility>

/// The values of one of an account's stores in memory, written through in the background. What is
/// changed while no store is open for the account stays in memory only.
///
/// A change belongs to the store that was open when it was made: it has the writer of that store,
/// and a store that is left takes its writer, and what that could not write, with it.
///
/// Thread: any; load() and all that concerns the store by one at a time. The store is never called
/// under the lock, and the two see changes of a key in the same order.
template <typename Storage, typename Info>
class StoredValues
{
public:
    explicit StoredValues(Storage *storage)
        : m_storage(storage), m_writer(std::make_shared<Writer>(storage))
    {
    }

    template <typename T>
    T value(const QString &key, const T &fallback) const
    {
        return readCached(m_mutex, m_values, key, fallback);
    }

    /// Points into the cache, or at the fallback.
    const QVariant &reference(const QString &key, const QVariant &fallback) const
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_values.find(key);
        return found == m_values.end() ? fallback : found->second;
    }

    bool contains(const QString &key) const
    {
        const std::lock_guard lock(m_mutex);
        return m_values.find(key) != m_values.end();
    }

    /// True when the present value is equal to this one.
    bool holds(const QString &key, const QVariant &value) const
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_values.find(key);
        return found != m_values.end() && isSame(found->second, value);
    }

    /// Changes a value; false when it is equal to the present one.
    bool change(const QString &key, const QVariant &value, bool save)
    {
        save = save && Writer::accepts(key, value);
        std::shared_ptr<Writer> writer;
        {
            const std::lock_guard lock(m_mutex);
            const auto found = m_values.find(key);
            if (found == m_values.end())
                m_values.emplace(key, value);
            else if (isSame(found->second, value))
                return false;
            else
                found->second = value;
            touch(key);
            if (save && isStoreOpen() && m_writer->put(info(key, value)))
                writer = m_writer;
        }
        if (writer)
            writer->write();
        return true;
    }

    /// Sets a value and saves it, equal or not; with `async` false before the call returns.
    void set(const QString &key, const QVariant &value, bool async)
    {
        const bool save = Writer::accepts(key, value);
        std::shared_ptr<Writer> writer;
        bool first = false;
        {
            const std::lock_guard lock(m_mutex);
            m_values.insert_or_assign(key, value);
            touch(key);
            if (save && isStoreOpen()) {
                first = m_writer->put(info(key, value));
                if (first || !async)
                    writer = m_writer;
            }
        }
        if (first)
            writer->write();
        if (writer && !async)
            writer->writeNow();
    }

    /// Does nothing where there is no such value.
    void remove(const QString &key, bool async)
    {
        std::shared_ptr<Writer> writer;
        bool first = false;
        {
            const std::lock_guard lock(m_mutex);
            if (m_values.erase(key) == 0)
                return;
            touch(key);
            if (isStoreOpen()) {
                first = m_writer->putRemoval(key);
                if (first || !async)
                    writer = m_writer;
            }
        }
        if (first)
            writer->write();
        if (writer && !async)
            writer->writeNow();
    }

    /// Writes one row, bypassing the memory.
    void saveStored(const QString &key, const QVariant &value)
    {
        if (!Writer::accepts(key, value))
            return;
        std::shared_ptr<Writer> writer;
        {
            const std::lock_guard lock(m_mutex);
            if (isStoreOpen() && m_writer->put(info(key, value)))
                writer = m_writer;
        }
        if (writer)
            writer->write();
    }

    /// Removes one row; the value in memory stays until the next load.
    void removeStored(const QString &key)
    {
        std::shared_ptr<Writer> writer;
        {
            const std::lock_guard lock(m_mutex);
            if (isStoreOpen() && m_writer->putRemoval(key))
                writer = m_writer;
        }
        if (writer)
            writer->write();
    }

    /// Reads the store in place of what is in memory. `upgrade` may alter the rows first.
    template <typename Upgrade>
    void load(Upgrade upgrade)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_touched.emplace();
        }
        ValueCache values;
        QList<Info> rows = m_writer->allInfos();
        values.reserve(std::size_t(rows.size()));
        for (Info &info : rows)
            values.insert_or_assign(std::move(info.key), std::move(info.value));
        upgrade(values);
        const std::lock_guard lock(m_mutex);
        for (const QString &key : *m_touched) {
            const auto found = m_values.find(key);
            if (found != m_values.end())
                values.insert_or_assign(key, found->second);
            else
                values.erase(key);
        }
        m_touched.reset();
        m_values.swap(values);
    }

    void clear()
    {
        const std::lock_guard lock(m_mutex);
        m_values.clear();
    }

    bool flush() { return m_writer->flush(); }
    bool flush(QDeadlineTimer deadline) { return m_writer->flush(deadline); }

    // A store's life. Its storage is opened before enter() and closed after suspend().

    /// Changes go to the store from now on.
    void enter()
    {
        const std::lock_guard lock(m_mutex);
        m_entered = true;
    }
    /// Changes stay in memory from now on; what is pending is still this store's.
    void suspend()
    {
        const std::lock_guard lock(m_mutex);
        m_entered = false;
    }
    /// Lets go of a suspended store, until `deadline` at most: what could not be written is lost,
    /// and named in the log. False when a write still hangs in another thread.
    bool leave(QDeadlineTimer deadline)
    {
        const bool done = m_writer->close(deadline);
        auto next = std::make_shared<Writer>(m_storage);
        const std::lock_guard lock(m_mutex);
        m_writer.swap(next);
        return done;
    }

private:
    using Writer = StoreWriter<Storage, Info>;

    // Asked under the lock: what is changed while it is false is over, then, before a load that
    // follows its opening begins.
    bool isStoreOpen() const { return m_entered && m_storage->isOpen(); }

    void touch(const QString &key)
    {
        if (m_touched)
            m_touched->insert(key);
    }

    static Info info(const QString &key, const QVariant &value)
    {
        Info info;
        info.key = key;
        info.value = value;
        return info;
    }

    Storage *const m_storage;
    mutable std::mutex m_mutex;       // guards what follows
    std::shared_ptr<Writer> m_writer; // replaced by leave() only
    bool m_entered = false;
    ValueCache m_values;
    std::optional<std::unordered_set<QString>> m_touched; // while a load reads: keys changed since
};
