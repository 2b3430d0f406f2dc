#pragma once

#include "core/storewriter_p.h"
#include "core/valuecache_p.h"
#include "storage/rowstorage.h"

#include <memory>
#include <mutex>
#include <optional>
#include <unordered_set>
#include <utility>

/// The values of one store in memory, written through in the background. What is changed while no
/// store is open stays in memory only, but for what is put through an Access.
///
/// A change belongs to the store that was open when it was made: it has the writer of that store,
/// and a store that is left takes its writer, and what that could not write, with it.
///
/// Thread: any; load() and all that concerns the store by one at a time. The store is never called
/// under the lock, and the two see changes of a key in the same order. Where the
/// mutex is recursive, a thread may use the values while it holds an Access.
template <typename Mutex>
class StoredValues
{
public:
    /// Holds the lock for several steps that must not be torn. What they put for saving goes to the
    /// writer when the thread lets go of the last one: the task may run at once, and nobody is to
    /// wait for the disk then.
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

        /// Null where there is none.
        const QVariant *find(const QString &key) const { return m_values.find(key); }
        void assign(const QString &key, const QVariant &value)
        {
            m_values.m_values.insert_or_assign(key, value);
            touch(key);
        }
        /// False, and nothing, for a value that is equal to the present one.
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
            touch(key);
            return m_values.m_values.erase(key) != 0;
        }
        void replaceAll(ValueCache &&values) { m_values.m_values = std::move(values); }

        // Rows to save, which the writer accepts.

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

    /// Points into the cache, or at the fallback.
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

    /// Sets a value and saves it, equal or not; with `async` false before the call returns.
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

    /// Does nothing where there is no such value.
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

    /// Reads the store in place of what is in memory. `upgrade` may alter the rows first.
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

    /// All rows as they are once what is pending has been written, which is tried first.
    QList<storage::Row> allInfos() { return m_writer->allInfos(); }

    bool flush() { return m_writer->flush(); }
    bool flush(QDeadlineTimer deadline) { return m_writer->flush(deadline); }

    /// Stands in for values that are being let go of: has a copy of them, and saves no change.
    void standInFor(const StoredValues &other)
    {
        const std::lock_guard lock(other.m_mutex);
        m_values = other.m_values;
        m_isHeld = true;
    }

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
        auto next = std::make_shared<StoreWriter>(*m_storage);
        const std::lock_guard lock(m_mutex);
        m_writer.swap(next);
        return done;
    }

private:
    // Asked under the lock: what is changed while it is false is over, then, before a load that
    // follows its opening begins.
    bool isStoreOpen() const { return m_entered && m_storage->isOpen(); }

    const QVariant *find(const QString &key) const
    {
        const auto found = m_values.find(key);
        return found == m_values.end() ? nullptr : &found->second;
    }

    /// `step` changes something, and tells whether it put a row for saving.
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
    std::shared_ptr<StoreWriter> m_writer; // replaced by leave() only
    int m_accesses = 0;                    // of the thread that holds the lock
    bool m_writeDue = false;               // at the end of the last of them
    bool m_isHeld = false;                 // what is put stays with the writer
    bool m_entered = false;
    ValueCache m_values;
    std::optional<std::unordered_set<QString>> m_touched; // while a load reads: keys changed since
};
