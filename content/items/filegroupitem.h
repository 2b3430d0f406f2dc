#pragma once

#include "content/contentitem.h"

#include <QList>
#include <QRect>

#include <memory>

class CaptionItem;
class GroupMembers;

/// Files of messages with the same grouped_id, shown as one: as a list. See makeGroupItem().
class MODELBASE_EXPORT FileGroupItem : public ContentItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_MOC_INCLUDE("content/items/captionitem.h")
    /// The members' items, in their order.
    Q_PROPERTY(QList<QObject *> members READ memberObjects NOTIFY membersChanged)
    Q_PROPERTY(int count READ count NOTIFY membersChanged)
    /// Always there, perhaps without a text.
    Q_PROPERTY(CaptionItem *caption READ captionPointer CONSTANT)
    /// Where the members are shown, relative to the content's top left corner: a list of rectangles
    /// in pixels, as of the last measuring for a chat, or for a thread.
    Q_PROPERTY(QVariantList rects READ rectVariants NOTIFY rectsChanged)
    Q_PROPERTY(QVariantList rectsInThread READ rectVariantsInThread NOTIFY rectsInThreadChanged)

public:
    /// An empty group.
    FileGroupItem(int source, AccountBase *account);
    /// See setMembers().
    FileGroupItem(const QList<QSharedPointer<ContentItem>> &members, int source,
                  AccountBase *account);
    /// A group of copies of the members.
    explicit FileGroupItem(const FileGroupItem *other);
    ~FileGroupItem() override;

    /// Whether an item can be a member: files, music, voice, folders, and media that are sent as
    /// files.
    static bool canHold(const ContentItem &item);
    /// What the group cannot hold is left out with a log line. The items are shared with their
    /// messages. A member that changes its size or text makes the group ask for a new size.
    void setMembers(const QList<QSharedPointer<ContentItem>> &members);
    QList<QSharedPointer<ContentItem>> members() const { return innerItems(); }
    int count() const { return int(members().size()); }
    /// The text of the one member that has one. Where several have, each text belongs to its own
    /// member, and the group has none.
    QSharedPointer<CaptionItem> caption() const;
    const QList<QRect> &rects() const { return m_rects; }
    const QList<QRect> &rectsInThread() const { return m_rectsInThread; }

    QList<QSharedPointer<ContentItem>> innerItems() const override;
    using ContentItem::serialize;
    /// A group has no body, its members are sent one by one: empties the record, with a log line.
    void serialize(im::content::Content *content) const override;
    /// The members' stored forms.
    void serializes(QList<QVariant> &list) const override;

    /// The members' rows one below the other, each as high as its own content, and no less than can
    /// be tapped. Texts are shown with their files; the caption takes no further room.
    QSize calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread) override;

Q_SIGNALS:
    void membersChanged();
    void rectsChanged();
    void rectsInThreadChanged();

private:
    QList<QObject *> memberObjects() const;
    CaptionItem *captionPointer() const { return caption().data(); }
    QVariantList rectVariants() const;
    QVariantList rectVariantsInThread() const;

    std::unique_ptr<GroupMembers> m_members;
    QList<QRect> m_rects;
    QList<QRect> m_rectsInThread;
};
