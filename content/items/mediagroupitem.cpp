#include "content/items/mediagroupitem.h"

#include "content/items/groupmembers_p.h"
#include "content/items/mediabox_p.h"
#include "content/items/mosaic_p.h"
#include "protocol/message_content.pb.h"

#include <QLoggingCategory>

#include <utility>

namespace
{

Q_LOGGING_CATEGORY(lcContent, "im.modelbase")

/// The size of a picture in its own pixels; empty when nobody knows it.
QSize naturalSize(const ContentItem *item)
{
    return {item->property("w").toInt(), item->property("h").toInt()};
}

} // namespace

MediaGroupItem::MediaGroupItem(int source, AccountBase *account)
    : ContentItem(source, account), m_members(std::make_unique<GroupMembers>(this, source))
{
    setType(MediaGroup);
}

MediaGroupItem::MediaGroupItem(const QList<QSharedPointer<ContentItem>> &members, int source,
                               AccountBase *account)
    : MediaGroupItem(source, account)
{
    setMembers(members);
}

MediaGroupItem::MediaGroupItem(const MediaGroupItem *other)
    : ContentItem(other), m_members(std::make_unique<GroupMembers>(this, 1))
{
    setMembers(Inner::copies(other->members()));
}

MediaGroupItem::~MediaGroupItem() = default;

bool MediaGroupItem::canHold(const ContentItem &item)
{
    return item.type() == Image || item.type() == Video;
}

void MediaGroupItem::setMembers(const QList<QSharedPointer<ContentItem>> &members)
{
    if (!m_members->set(members, canHold))
        return;
    Q_EMIT membersChanged();
    Q_EMIT needRecalcSize();
}

QList<QSharedPointer<ContentItem>> MediaGroupItem::innerItems() const
{
    return m_members->items();
}

QList<QObject *> MediaGroupItem::memberObjects() const
{
    return m_members->objects();
}

QSharedPointer<CaptionItem> MediaGroupItem::caption() const
{
    return m_members->caption();
}

QVariantList MediaGroupItem::rectVariants() const
{
    return Inner::toVariants(m_rects);
}

QVariantList MediaGroupItem::rectVariantsInThread() const
{
    return Inner::toVariants(m_rectsInThread);
}

void MediaGroupItem::serialize(im::content::Content *content) const
{
    qCWarning(lcContent, "A group has no body; its members have.");
    content->Clear();
}

void MediaGroupItem::serializes(QList<QVariant> &list) const
{
    for (const auto &member : m_members->items())
        member->serializes(list);
}

QSize MediaGroupItem::calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread)
{
    const int width = MediaBox::messageWidth(maxWidth, inThread);
    Mosaic::Layout grid;
    if (count() == 1) {
        grid.size = MediaBox::box(naturalSize(members().constFirst().data()), width);
        grid.cells.append(QRect({0, 0}, grid.size));
    } else {
        QList<QSize> natural;
        for (const auto &member : m_members->items())
            natural.append(naturalSize(member.data()));
        grid = Mosaic::layOut(natural, width, MediaBox::greatestHeight(), MediaBox::leastSide);
    }
    const QSize text = caption()->calcContentSize(
        lineCount,
        std::max(grid.size.width(), std::min<int>(width, ContentMetrics::LeastCaptionWidth)),
        maxRowCount, inThread);
    if (std::exchange(inThread ? m_rectsInThread : m_rects, grid.cells) != grid.cells)
        inThread ? Q_EMIT rectsInThreadChanged() : Q_EMIT rectsChanged();
    return MediaBox::stacked(grid.size, text);
}
