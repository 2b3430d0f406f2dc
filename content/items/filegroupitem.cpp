#include "content/items/filegroupitem.h"

#include "content/items/groupmembers_p.h"
#include "content/items/mediabox_p.h"
#include "content/items/mediagroupitem.h"
#include "protocol/message_content.pb.h"

#include <QLoggingCategory>

#include <limits>
#include <utility>

namespace
{

Q_LOGGING_CATEGORY(lcContent, "im.modelbase")

} // namespace

FileGroupItem::FileGroupItem(int source, AccountBase *account)
    : ContentItem(source, account), m_members(std::make_unique<GroupMembers>(this, source))
{
    setType(FileGroup);
}

FileGroupItem::FileGroupItem(const QList<QSharedPointer<ContentItem>> &members, int source,
                             AccountBase *account)
    : FileGroupItem(source, account)
{
    setMembers(members);
}

FileGroupItem::FileGroupItem(const FileGroupItem *other)
    : ContentItem(other), m_members(std::make_unique<GroupMembers>(this, 1))
{
    setMembers(Inner::copies(other->members()));
}

FileGroupItem::~FileGroupItem() = default;

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

void FileGroupItem::setMembers(const QList<QSharedPointer<ContentItem>> &members)
{
    if (!m_members->set(members, canHold))
        return;
    Q_EMIT membersChanged();
    Q_EMIT needRecalcSize();
}

QList<QSharedPointer<ContentItem>> FileGroupItem::innerItems() const
{
    return m_members->items();
}

QList<QObject *> FileGroupItem::memberObjects() const
{
    return m_members->objects();
}

QSharedPointer<CaptionItem> FileGroupItem::caption() const
{
    return m_members->caption();
}

QVariantList FileGroupItem::rectVariants() const
{
    return Inner::toVariants(m_rects);
}

QVariantList FileGroupItem::rectVariantsInThread() const
{
    return Inner::toVariants(m_rectsInThread);
}

void FileGroupItem::serialize(im::content::Content *content) const
{
    qCWarning(lcContent, "A group has no body; its members have.");
    content->Clear();
}

void FileGroupItem::serializes(QList<QVariant> &list) const
{
    for (const auto &member : m_members->items())
        member->serializes(list);
}

QSize FileGroupItem::calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread)
{
    const int width = MediaBox::messageWidth(maxWidth, inThread);
    lineCount = 0;
    QList<QRect> rows;
    QSize size(0, 0);
    for (const auto &member : m_members->items()) {
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
    if (std::exchange(inThread ? m_rectsInThread : m_rects, rows) != rows)
        inThread ? Q_EMIT rectsInThreadChanged() : Q_EMIT rectsChanged();
    return size;
}
