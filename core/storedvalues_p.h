#pragma once

#include "core/storewriter_p.h"
#include "core/valuecache_p.h"
#include "storage/rowstorage.h"

#include <memory>
#include <mutex>
#include <optional>
#include <unordered_set>
#include <utility>

/// The values of one store in memory, written through in the background. A change made while no
/// store is open stays in memory only, except rows that are put through an Access.
///
/// A change belongs to the store that was open when it was made: each store has its own writer, and
/// leaving a store discards its writer together with the changes that it could not write.
///
/// Thread: any; load() and the calls that open or leave the store only one at a time. The store is
/// never called under the lock, and memory and store see changes of a key in the same order. If the
/// mutex is recursive, a thread may use the values while it holds an Access.
template <typename Mutex>
class StoredValues
{
public:
    /// Holds the lock during several steps that must be atomic. The rows that they put are passed
    /// to the writer when the thread releases its last Access: the task may run at once, and no one
    /// must wait for the disk under the lock.
    class Access
    {
    public:
        explicit Access(StoredValues &values) : m_values(values)
        {
            m_values.m_mutex.lock();
            ++m_values.m_accesses;
        }
        ~Access()
        {
            std::shared_ptr<StoreWriter> writer;
            if (--m_values.m_accesses == 0 && std::exchange(m_values.m_writeDue, false))
                writer = m_values.m_writer;
            m_values.m_mutex.unlock();
            if (writer)
                writer->write();
        }
        Q_DISABLE_COPY_MOVE(Access)

        /// Null if there is none.
        const QVariant *find(const QString &key) const { return m_values.find(key); }
        void assign(const QString &key, const QVariant &value)
        {
            m_values.m_values.insert_or_assign(key, value);
            touch(key);
        }
        /// False, without a change, for a value equal to the present one.
        bool replace(const QString &key, const QVariant &value)
        {
            const auto [place, isNew] = m_values.m_values.try_emplace(key, value);
            if (!isNew && isSame(place->second, value))
                return false;
            if (!isNew)
                place->second = value;
            touch(key);
            return true;
        }
        bool erase(const QString &key)
        {
            if (m_values.m_values.erase(key) == 0)
                return false;
            touch(key);
            return true;
        }
        void replaceAll(ValueCache &&values) { m_values.m_values = std::move(values); }

        // Rows to save; the writer must accept them.

        void put(storage::Row row) { due(m_values.m_writer->put(std::move(row))); }
        void put(QList<storage::Row> rows) { due(m_values.m_writer->put(std::move(rows))); }
        void putRemoval(const QString &key) { due(m_values.m_writer->putRemoval(key)); }
        void putRemovalOfAll(const QList<storage::Row> &kept)
        {
            due(m_values.m_writer->putRemovalOfAll(kept));
        }

    private:
        friend class StoredValues;

        void due(bool isFirst) { m_values.m_writeDue |= isFirst && !m_values.m_isHeld; }
        void touch(const QString &key)
        {
            if (m_values.m_touched)
                m_values.m_touched->insert(key);
        }

        StoredValues &m_values;
    };

    explicit StoredValues(storage::RowStorage *storage)
        : m_storage(storage), m_writer(std::make_shared<StoreWriter>(*storage))
    {
    }

    template <typename T>
    T value(const QString &key, const T &fallback) const
    {
        return readCached(m_mutex, m_values, key, fallback);
    }

    /// Refers to the cached value, or to the fallback.
    const QVariant &reference(const QString &key, const QVariant &fallback) const
    {
        const std::lock_guard lock(m_mutex);
        const QVariant *held = find(key);
        return held ? *held : fallback;
    }

    bool contains(const QString &key) const
    {
        const std::lock_guard lock(m_mutex);
        return find(key) != nullptr;
    }

    /// True when the present value is equal to this one.
    bool holds(const QString &key, const QVariant &value) const
    {
        const std::lock_guard lock(m_mutex);
        const QVariant *held = find(key);
        return held && isSame(*held, value);
    }

    /// Changes a value; false when it is equal to the present one.
    bool change(const QString &key, const QVariant &value, bool save)
    {
        save = save && StoreWriter::accepts(key, value);
        Access access(*this);
        if (!access.replace(key, value))
            return false;
        if (save && isStoreOpen())
            access.put({key, value});
        return true;
    }

    /// Sets a value and saves it even if it is unchanged; with `async` false before the call
    /// returns.
    void set(const QString &key, const QVariant &value, bool async)
    {
        const bool save = StoreWriter::accepts(key, value);
        inStep(async, [&](Access &access) {
            access.assign(key, value);
            if (!save || !isStoreOpen())
                return false;
            access.put({key, value});
            return true;
        });
    }

    /// Does nothing if there is no such value.
    void remove(const QString &key, bool async)
    {
        inStep(async, [&](Access &access) {
            if (!access.erase(key) || !isStoreOpen())
                return false;
            access.putRemoval(key);
            return true;
        });
    }

    /// Writes one row, bypassing the memory.
    void saveStored(const QString &key, const QVariant &value)
    {
        if (!StoreWriter::accepts(key, value))
            return;
        Access access(*this);
        if (isStoreOpen())
            access.put({key, value});
    }

    /// Removes one row; the value in memory stays until the next load.
    void removeStored(const QString &key)
    {
        Access access(*this);
        if (isStoreOpen())
            access.putRemoval(key);
    }

    /// Replaces the values in memory by the store's. `upgrade` may alter the rows first.
    template <typename Upgrade>
    void load(Upgrade upgrade)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_touched.emplace();
        }
        ValueCache values;
        QList<storage::Row> rows = allInfos();
        values.reserve(std::size_t(rows.size()));
        for (storage::Row &row : rows)
            values.insert_or_assign(std::move(row.key), std::move(row.value));
        upgrade(values);
        const std::lock_guard lock(m_mutex);
        for (const QString &key : *m_touched) {
            if (const QVariant *held = find(key))
                values.insert_or_assign(key, *held);
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

    /// All rows after the pending changes, which are written first if possible.
    QList<storage::Row> allInfos() { return m_writer->allInfos(); }

    bool flush() { return m_writer->flush(); }
    bool flush(QDeadlineTimer deadline) { return m_writer->flush(deadline); }

    /// Replaces values that are being closed: takes a copy of them, and saves no changes.
    void standInFor(const StoredValues &other)
    {
        const std::lock_guard lock(other.m_mutex);
        m_values = other.m_values;
        m_isHeld = true;
    }

    // Life cycle of a store. Its storage is opened before enter() and closed after suspend().

    /// From now on changes go to the store.
    void enter()
    {
        const std::lock_guard lock(m_mutex);
        m_entered = true;
    }
    /// From now on changes stay in memory; pending changes still belong to this store.
    void suspend()
    {
        const std::lock_guard lock(m_mutex);
        m_entered = false;
    }
    /// Releases a suspended store, until `deadline` at most: changes that could not be written are
    /// lost, and named in the log. False when a write still hangs in another thread.
    bool leave(QDeadlineTimer deadline)
    {
        const bool done = m_writer->close(deadline);
        auto next = std::make_shared<StoreWriter>(*m_storage);
        const std::lock_guard lock(m_mutex);
        m_writer.swap(next);
        return done;
    }

private:
    // Evaluated under the lock: a change made while it is false is complete before the load that
    // follows the opening begins.
    bool isStoreOpen() const { return m_entered && m_storage->isOpen(); }

    const QVariant *find(const QString &key) const
    {
        const auto found = m_values.find(key);
        return found == m_values.end() ? nullptr : &found->second;
    }

    /// `step` makes a change, and returns whether it put a row for saving.
    template <typename Step>
    void inStep(bool async, Step step)
    {
        std::shared_ptr<StoreWriter> writer;
        {
            Access access(*this);
            if (step(access) && !async)
                writer = m_writer;
        }
        if (writer)
            writer->writeNow();
    }

    storage::RowStorage *const m_storage;
    mutable Mutex m_mutex;                 // guards what follows
    std::shared_ptr<StoreWriter> m_writer; // only leave() replaces it
    int m_accesses = 0;                    // nesting depth in the thread that holds the lock
    bool m_writeDue = false;               // when the last of them ends
    bool m_isHeld = false;                 // rows stay with the writer for now
    bool m_entered = false;
    ValueCache m_values;
    std::optional<std::unordered_set<QString>> m_touched; // keys changed while a load reads
};
