#pragma once

#include <QByteArrayView>
#include <QList>

#include <algorithm>
#include <optional>
#include <vector>

/// An ordered set of message ids. They are kept in sorted chunks, since ids come in ascending order
/// nearly always: appending one is a push_back, packing and unpacking a copy, and an id that comes
/// late moves one chunk at most.
class IdSet
{
public:
    IdSet() = default;
    /// From ids in any order, with or without repetitions.
    explicit IdSet(std::vector<qint64> ids)
    {
        if (!std::is_sorted(ids.cbegin(), ids.cend()))
            std::sort(ids.begin(), ids.end());
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
        m_size = ids.size();
        for (std::size_t from = 0; from < ids.size(); from += chunkSize) {
            const std::size_t end = std::min(from + chunkSize, ids.size());
            m_chunks.emplace_back(ids.begin() + qptrdiff(from), ids.begin() + qptrdiff(end));
        }
    }

    std::size_t size() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }
    qint64 first() const { return m_chunks.front().front(); }
    qint64 last() const { return m_chunks.back().back(); }

    bool contains(qint64 id) const
    {
        const auto chunk = chunkOf(m_chunks.begin(), m_chunks.end(), id);
        return chunk != m_chunks.end() && std::binary_search(chunk->begin(), chunk->end(), id);
    }

    /// The smallest id that is greater.
    std::optional<qint64> after(qint64 id) const
    {
        const auto chunk = std::partition_point(m_chunks.begin(), m_chunks.end(),
                                                [id](const Chunk &c) { return c.back() <= id; });
        if (chunk == m_chunks.end())
            return std::nullopt;
        return *std::upper_bound(chunk->begin(), chunk->end(), id);
    }

    /// False when it was there already.
    bool insert(qint64 id)
    {
        if (isEmpty() || id > last()) {
            if (isEmpty() || m_chunks.back().size() == chunkSize)
                m_chunks.emplace_back().reserve(std::min(chunkSize, m_size + 1));
            m_chunks.back().push_back(id);
            ++m_size;
            return true;
        }
        auto chunk = chunkOf(m_chunks.begin(), m_chunks.end(), id);
        const auto at = std::lower_bound(chunk->begin(), chunk->end(), id);
        if (*at == id)
            return false;
        ++m_size;
        if (chunk->size() < chunkSize) {
            chunk->insert(at, id);
            return true;
        }
        // Full: its upper half becomes a chunk of its own.
        const auto place = at - chunk->begin();
        constexpr auto half = qptrdiff(chunkSize / 2);
        chunk = m_chunks.insert(chunk + 1, Chunk(chunk->begin() + half, chunk->end()));
        Chunk &lower = *(chunk - 1);
        lower.resize(std::size_t(half));
        if (place <= half)
            lower.insert(lower.begin() + place, id);
        else
            chunk->insert(chunk->begin() + (place - half), id);
        return true;
    }

    bool remove(qint64 id)
    {
        const auto chunk = chunkOf(m_chunks.begin(), m_chunks.end(), id);
        if (chunk == m_chunks.end())
            return false;
        const auto at = std::lower_bound(chunk->begin(), chunk->end(), id);
        if (*at != id)
            return false;
        chunk->erase(at);
        if (chunk->empty())
            m_chunks.erase(chunk);
        --m_size;
        return true;
    }

    /// Removes the ids that are smaller.
    void removeBelow(qint64 id)
    {
        const auto chunk = chunkOf(m_chunks.begin(), m_chunks.end(), id);
        for (auto c = m_chunks.begin(); c != chunk; ++c)
            m_size -= c->size();
        if (chunk != m_chunks.end()) {
            const auto at = std::lower_bound(chunk->begin(), chunk->end(), id);
            m_size -= std::size_t(at - chunk->begin());
            chunk->erase(chunk->begin(), at);
        }
        m_chunks.erase(m_chunks.begin(), chunk);
    }

    /// Calls `action` with each run of ids that lie next to each other, in ascending order.
    template <typename Action>
    void forEachRun(Action action) const
    {
        for (const Chunk &chunk : m_chunks)
            action(chunk.data(), chunk.size());
    }

    QList<qint64> ids() const
    {
        QList<qint64> list;
        list.reserve(qsizetype(m_size));
        forEachRun([&list](const qint64 *run, std::size_t size) {
            std::copy_n(run, size, std::back_inserter(list));
        });
        return list;
    }

private:
    using Chunk = std::vector<qint64>; ///< ascending, never empty
    static constexpr std::size_t chunkSize = 1024;

    /// The chunk that `id` lies in, or would lie in; the end when it is greater than all.
    template <typename Iterator>
    static Iterator chunkOf(Iterator begin, Iterator end, qint64 id)
    {
        return std::partition_point(begin, end, [id](const Chunk &c) { return c.back() < id; });
    }

    std::vector<Chunk> m_chunks;
    std::size_t m_size = 0;
};
