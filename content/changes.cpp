#include "content/changes_p.h"

#include <algorithm>

namespace
{

thread_local Change *innermost = nullptr;

} // namespace

Change::Change(ContentItem *item, const QMetaObject *watched)
    : m_item(item), m_watched(watched), m_enclosing(std::exchange(innermost, this))
{
    for (const Change *each = m_enclosing; each; each = each->m_enclosing) {
        if (each->m_item != item)
            continue;
        m_outermost = each->m_outermost;
        m_isWatched = m_isWatched || each->m_watched->inherits(watched);
    }
}

void Change::finish()
{
    innermost = m_enclosing;
    if (m_outermost != this)
        return;
    for (const Emit emitOne : m_signals)
        emitOne(*m_item);
    if (m_needsSize)
        Q_EMIT m_item->needRecalcSize();
}

void Change::add(Emit changed)
{
    auto &list = m_outermost->m_signals;
    if (!list.contains(changed))
        list.append(changed);
}

bool TextRanges::operator==(const TextRanges &other) const
{
    const auto areSame = [&](const UserTextBlock &a, const UserTextBlock &b) {
        if (a.type != b.type || a.from != b.from || a.len != b.len)
            return false;
        const auto range = a.clampedTo(text.size());
        const auto otherRange = b.clampedTo(other.text.size());
        return a.type != TextEntityType::Spoiler
            || (range.from == otherRange.from && range.len == otherRange.len);
    };
    return std::equal(blocks.cbegin(), blocks.cend(), other.blocks.cbegin(), other.blocks.cend(),
                      areSame);
}
