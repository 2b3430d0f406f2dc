#pragma once

#include "settings/settingmodel_p.h"
#include "settings/storewriter_p.h"

#include <mutex>
#include <optional>
#include <unordered_set>
#include <utility>

/// The values of one of an account's stores in memory, written through in the background. What is
/// changed while the store is closed stays in memory only: it may be opened next for another
/// account.
///
/// Thread: any; load() by one at a time. The store is never called under the lock, and the two see
/// changes of a key in the same order.
template <typename Storage, typename Info>
class StoredValues
{
public:
    explicit StoredValues(Storage *storage) : m_storage(storage), m_writer(storage) { }

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

    /// Changes a value; false when it is equal to the present one.
    bool change(const QString &key, const QVariant &value, bool save)
    {
        save = save && m_writer.accepts(key, value);
        bool first = false;
        {
            const std::lock_guard lock(m_mutex);
            const auto found = m_values.find(key);
            if (found == m_values.end())
                m_values.emplace(key, value);
            else if (found->second == value)
                return false;
            else
                found->second = value;
            touch(key);
            first = save && m_storage->isOpen() && m_writer.put(info(key, value));
        }
        if (first)
            m_writer.write();
        return true;
    }

    /// Sets a value and saves it, equal or not; with `async` false before the call returns.
    void set(const QString &key, const QVariant &value, bool async)
    {
        bool save = m_writer.accepts(key, value);
        bool first = false;
        {
            const std::lock_guard lock(m_mutex);
            m_values.insert_or_assign(key, value);
            touch(key);
            save = save && m_storage->isOpen();
            first = save && m_writer.put(info(key, value));
        }
        if (first)
            m_writer.write();
        if (save && !async)
            m_writer.flush();
    }

    /// Does nothing where there is no such value.
    void remove(const QString &key, bool async)
    {
        bool save = false;
        bool first = false;
        {
            const std::lock_guard lock(m_mutex);
            if (m_values.erase(key) == 0)
                return;
            touch(key);
            save = m_storage->isOpen();
            first = save && m_writer.putRemoval(key);
        }
        if (first)
            m_writer.write();
        if (save && !async)
            m_writer.flush();
    }

    /// Writes one row, bypassing the memory.
    void saveStored(const QString &key, const QVariant &value)
    {
        if (m_storage->isOpen())
            m_writer.save(info(key, value));
    }

    /// Removes one row; the value in memory stays until the next load.
    void removeStored(const QString &key)
    {
        if (m_storage->isOpen())
            m_writer.remove(key);
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
        QList<Info> rows = m_writer.allInfos();
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

    bool flush() { return m_writer.flush(); }
    bool flush(QDeadlineTimer deadline) { return m_writer.flush(deadline); }

private:
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

    // Asked under the lock whether it is open: what is changed while it is not is over, then, before
    // a load that follows its opening begins.
    Storage *const m_storage;
    StoreWriter<Storage, Info> m_writer;
    mutable std::mutex m_mutex; // guards what follows
    ValueCache m_values;
    std::optional<std::unordered_set<QString>> m_touched; // while a load reads: keys changed since
};
