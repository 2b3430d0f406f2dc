#pragma once

#include "content/items/groupitem.h"

/// Files that were sent together: as a list.
class MODELBASE_EXPORT FileGroupItem : public GroupItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE

public:
    /// An empty group.
    FileGroupItem(int source, AccountBase *account);
    /// See setMembers().
    FileGroupItem(const QList<QSharedPointer<ContentItem>> &members, int source,
                  AccountBase *account);
    /// A group of copies of the members.
    explicit FileGroupItem(const FileGroupItem *other);

    /// Whether an item can be a member: files, music, voice, folders, and media that are sent as
    /// files.
    static bool canHold(const ContentItem &item);

    /// The members' rows one below the other, each as high as its own content, and no less than can
    /// be tapped. Texts are shown with their files; the caption takes no further room.
    QSize calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread) override;

protected:
    bool accepts(const ContentItem &item) const override { return canHold(item); }
};
