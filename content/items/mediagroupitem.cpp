#include "content/items/mediagroupitem.h"

#include "content/items/captionitem.h"
#include "content/items/innercontent_p.h"
#include "content/items/mediabox_p.h"
#include "content/items/mosaic_p.h"

namespace
{

/// The size of a picture in its own pixels; empty when nobody knows it.
QSize naturalSize(const ContentItem *item)
{
    return {item->property("w").toInt(), item->property("h").toInt()};
}

} // namespace

MediaGroupItem::MediaGroupItem(int source, AccountBase *account)
    : GroupItem(MediaGroup, source, account)
{
}

MediaGroupItem::MediaGroupItem(const QList<QSharedPointer<ContentItem>> &members, int source,
                               AccountBase *account)
    : MediaGroupItem(source, account)
{
    setMembers(members);
}

MediaGroupItem::MediaGroupItem(const MediaGroupItem *other) : GroupItem(other)
{
    setMembers(Inner::copies(other->members()));
}

bool MediaGroupItem::canHold(const ContentItem &item)
{
    return item.type() == Image || item.type() == Video;
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
        for (const auto &member : members())
            natural.append(naturalSize(member.data()));
        grid = Mosaic::layOut(natural, width, MediaBox::greatestHeight(), MediaBox::leastSide);
    }
    const QSize text = caption()->calcContentSize(
        lineCount,
        std::max(grid.size.width(), std::min<int>(width, ContentMetrics::LeastCaptionWidth)),
        maxRowCount, inThread);
    setRects(grid.cells, inThread);
    return MediaBox::stacked(grid.size, text);
}
