#include "content/items/groupmembers_p.h"

#include <QLoggingCategory>
#include <QSet>

#include <memory>

namespace
{

Q_LOGGING_CATEGORY(lcContent, "im.modelbase")

} // namespace

GroupMembers::GroupMembers(ContentItem *group, int source)
    : m_group(group), m_caption(QSharedPointer<CaptionItem>::create(source, nullptr))
{
}

bool GroupMembers::set(const ItemList &items, bool (*canHold)(const ContentItem &item))
{
    ItemList accepted;
    QSet<const ContentItem *> seen; // stored groups may be of any size
    for (const auto &item : items) {
        if (!item || !canHold(*item) || seen.contains(item.data()))
            continue;
        seen.insert(item.data());
        accepted.append(item);
    }
    if (accepted.size() != items.size())
        qCWarning(lcContent, "What cannot be a member of a group is left out.");
    if (accepted == m_items)
        return false;
    for (const auto &item : std::as_const(m_items))
        item->disconnect(m_group);
    m_items = accepted;
    for (const auto &item : std::as_const(m_items))
        connectTo(item.data());
    updateCaption();
    return true;
}

QList<QObject *> GroupMembers::objects() const
{
    QList<QObject *> list;
    for (const auto &item : m_items)
        list.append(item.data());
    return list;
}

void GroupMembers::connectTo(ContentItem *member)
{
    QObject::connect(member, &ContentItem::needRecalcSize, m_group, &ContentItem::needRecalcSize);
    QObject::connect(member, &ContentItem::textEntityChanged, m_group, [this] { updateCaption(); });
    // A text and its entities are new at once, but have a signal each. Entities that are new have
    // that of the spoilers, too; a block that was folded has not, and asks by itself.
    const auto text = std::make_shared<QString>(member->content());
    QObject::connect(member, &ContentItem::contentChanged, m_group, [this, member, text] {
        *text = member->content();
        updateCaption();
        Q_EMIT m_group->needRecalcSize();
    });
    QObject::connect(member, &ContentItem::spoilersChanged, m_group, [this, member, text] {
        if (*text == member->content())
            Q_EMIT m_group->needRecalcSize();
    });
}

void GroupMembers::updateCaption()
{
    // With texts at several members, each belongs to its own picture and none to the group.
    QSharedPointer<ContentItem> member;
    for (const auto &item : std::as_const(m_items)) {
        if (item->content().isEmpty())
            continue;
        if (member) {
            member.reset();
            break;
        }
        member = item;
    }
    m_caption->setMember(member);
}
