#include "content/items/filegroupitem.h"

#include "content/items/innercontent_p.h"
#include "content/items/mediabox_p.h"
#include "content/items/mediagroupitem.h"

#include <limits>

FileGroupItem::FileGroupItem(int source, AccountBase *account)
    : GroupItem(FileGroup, source, account)
{
}

FileGroupItem::FileGroupItem(const QList<QSharedPointer<ContentItem>> &members, int source,
                             AccountBase *account)
    : FileGroupItem(source, account)
{
    setMembers(members);
}

FileGroupItem::FileGroupItem(const FileGroupItem *other) : GroupItem(other)
{
    setMembers(Inner::copies(other->members()));
}

bool FileGroupItem::canHold(const ContentItem &item)
{
    switch (item.type()) {
    case File:
    case Folder:
    case Music:
    case Voice:
        return true;
    default:
        return MediaGroupItem::canHold(item);
    }
}

QSize FileGroupItem::calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread)
{
    const int width = MediaBox::messageWidth(maxWidth, inThread);
    lineCount = 0;
    QList<QRect> rows;
    QSize size(0, 0);
    for (const auto &member : members()) {
        int lines = 0;
        const QSize content = member->calcContentSize(lines, width, maxRowCount, inThread);
        const QSize row = content.expandedTo({MediaBox::leastSide, MediaBox::leastSide})
                              .boundedTo({width, std::numeric_limits<int>::max()});
        const int y = rows.isEmpty() ? 0 : size.height() + ContentMetrics::GroupSpacing;
        rows.append(QRect({0, y}, row));
        size = {std::max(size.width(), row.width()), y + row.height()};
        lineCount += lines;
    }
    for (QRect &row : rows)
        row.setWidth(size.width());
    setRects(rows, inThread);
    return size;
}
