#include "content/items/groupitem.h"

#include "content/fields_p.h"
#include "content/items/captionitem.h"
#include "content/items/innercontent_p.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"

#include <QSet>

#include <utility>

template <>
struct Fields<GroupItem> {
    using Base = ContentItem;

    static constexpr std::tuple table{
        derived<&GroupItem::members, &GroupItem::membersChanged>,
        derived<&GroupItem::rects, &GroupItem::rectsChanged>,
        derived<&GroupItem::rectsInThread, &GroupItem::rectsInThreadChanged>,
        sizedBy<&GroupItem::members>,
    };
};

GroupItem::GroupItem(Type type, int source, AccountBase *account)
    : ContentItem(source, account), m_caption(QSharedPointer<CaptionItem>::create(source, nullptr))
{
    ItemFields::setType(*this, type);
}

GroupItem::GroupItem(const GroupItem *other)
    : ContentItem(other), m_caption(QSharedPointer<CaptionItem>::create(source(), nullptr))
{
}

GroupItem::~GroupItem()
{
    // The end of one member may change another.
    for (const auto &item : std::as_const(m_members))
        item->disconnect(this);
}

// Members

void GroupItem::setMembers(const QList<QSharedPointer<ContentItem>> &members)
{
    ItemList accepted;
    QSet<const ContentItem *> seen; // stored groups may be of any size
    for (const auto &item : members) {
        if (!item || !accepts(*item) || seen.contains(item.data()))
            continue;
        seen.insert(item.data());
        accepted.append(item);
    }
    if (accepted.size() != members.size())
        ImLog::error(lcModel(), QStringLiteral("What cannot be a member of a group is left out."));
    if (accepted == m_members)
        return;
    const Changes changes(this);
    for (const auto &item : std::as_const(m_members))
        item->disconnect(this);
    m_members = accepted;
    for (const auto &item : std::as_const(m_members))
        connectTo(item.data());
    updateCaption();
}

void GroupItem::connectTo(ContentItem *member)
{
    connect(member, &ContentItem::needRecalcSize, this, &ContentItem::needRecalcSize);
    connect(member, &ContentItem::textEntityChanged, this, &GroupItem::updateCaption);
    // For a new text a member fires this signal alone.
    connect(member, &ContentItem::contentChanged, this, [this] {
        Changes changes(this);
        updateCaption();
        changes.addResize();
    });
}

void GroupItem::updateCaption()
{
    // With texts at several members, each belongs to its own picture and none to the group.
    QSharedPointer<ContentItem> member;
    for (const auto &item : std::as_const(m_members)) {
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

QList<QObject *> GroupItem::memberObjects() const
{
    QList<QObject *> list;
    for (const auto &item : m_members)
        list.append(item.data());
    return list;
}

// Stored form

void GroupItem::serialize(im::content::Content *content) const
{
    ImLog::error(lcModel(), QStringLiteral("A group has no body; its members have."));
    content->Clear();
}

void GroupItem::serializes(QList<QVariant> &list) const
{
    for (const auto &member : m_members)
        member->serializes(list);
}

// Layout

void GroupItem::setRects(const QList<QRect> &rects, bool inThread)
{
    const Changes changes(this);
    (inThread ? m_rectsInThread : m_rects) = rects;
}

QVariantList GroupItem::rectVariants() const
{
    return Inner::toVariants(m_rects);
}

QVariantList GroupItem::rectVariantsInThread() const
{
    return Inner::toVariants(m_rectsInThread);
}
