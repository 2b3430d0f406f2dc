#pragma once

#include <QSharedPointer>
#include <QWeakPointer>

#include <algorithm>
#include <cstddef>
#include <unordered_map>

/// What somebody holds, by its ids. Entries of what is gone are forgotten as others come.
template <typename Id, typename Value>
class WeakRegistry
{
public:
    /// The entry of an id, made when there is none. Valid until the next call.
    QWeakPointer<Value> &entry(const Id &id)
    {
        // Once every doubling, so that adding stays cheap and dead entries never outnumber the
        // others for long.
        if (m_entries.size() >= m_purgeAt) {
            std::erase_if(m_entries, [](const auto &entry) { return entry.second.isNull(); });
            m_purgeAt = std::max<std::size_t>(64, m_entries.size() * 2);
        }
        return m_entries[id];
    }
    /// Null when nobody holds it.
    QSharedPointer<Value> value(const Id &id) const
    {
        const auto found = m_entries.find(id);
        return found != m_entries.end() ? found->second.toStrongRef() : QSharedPointer<Value>();
    }
    /// Entries of what is gone and was not yet forgotten included.
    qsizetype size() const { return qsizetype(m_entries.size()); }
    void clear() { m_entries.clear(); }

private:
    std::unordered_map<Id, QWeakPointer<Value>> m_entries;
    std::size_t m_purgeAt = 64; // entries at which to look for dead ones next
};
