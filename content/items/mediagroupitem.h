#pragma once

#include "content/items/groupitem.h"

/// Images and videos that were sent together: in rows, in their order, as a gallery has them.
class MODELBASE_EXPORT MediaGroupItem : public GroupItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE

public:
    /// An empty group.
    MediaGroupItem(int source, AccountBase *account);
    /// See setMembers().
    MediaGroupItem(const QList<QSharedPointer<ContentItem>> &members, int source,
                   AccountBase *account);
    /// A group of copies of the members.
    explicit MediaGroupItem(const MediaGroupItem *other);

    /// Whether an item can be a member: images and videos.
    static bool canHold(const ContentItem &item);

    /// The members' grid with the caption below. As wide as the view gives, but for a single
    /// member, which has its own proportions. No cell is too small to be tapped.
    QSize calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread) override;

protected:
    bool accepts(const ContentItem &item) const override { return canHold(item); }
};
