#include "content/changes_p.h"

#include <algorithm>

namespace
{

thread_local Change *innermost = nullptr;

} // namespace

Change::Change(ContentItem *item, const QMetaObject *watched)
    : m_own{item, {}, {}, false}, m_watched(watched), m_enclosing(std::exchange(innermost, this))
{
    for (const Change *each = m_enclosing; each && !each->m_isFiring; each = each->m_enclosing) {
        if (each->m_own.item != item)
            continue;
        m_outermost = each->m_outermost;
        m_isWatched = m_isWatched || each->m_watched->inherits(watched);
    }
    if (m_outermost == this)
        m_own.kept = item->sharedFromThis();
}

void Change::finish()
{
    Change *root = this; // the outermost of any item
    while (root->m_enclosing && !root->m_enclosing->m_isFiring)
        root = root->m_enclosing;
    if (m_outermost == this && root != this) {
        root->m_others.push_back(std::move(m_own));
    } else if (root == this) {
        m_isFiring = true;
        for (const Signals &other : m_others)
            other.fire();
        m_own.fire();
    }
    innermost = m_enclosing;
}

void Change::add(Emit changed)
{
    auto &list = m_outermost->m_own.emits;
    if (!list.contains(changed))
        list.append(changed);
}

void Change::Signals::fire() const
{
    for (const Emit emitOne : emits)
        emitOne(*item);
    if (needsSize)
        Q_EMIT item->needRecalcSize();
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
