#pragma once

#include "content/contentitem.h"

#include <QList>
#include <QRect>

class CaptionItem;

/// The contents of messages with the same grouped_id, shown as one. See makeGroupItem().
class MODELBASE_EXPORT GroupItem : public ContentItem
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
    ~GroupItem() override;

    /// Each once; what the group cannot hold is left out with a log line. The items are shared with
    /// their messages. A member that changes its size or text makes the group ask for a new size.
    void setMembers(const QList<QSharedPointer<ContentItem>> &members);
    const QList<QSharedPointer<ContentItem>> &members() const { return m_members; }
    int count() const { return int(m_members.size()); }
    /// The text of the one member that has one. Where several have, each text belongs to its own
    /// member, and the group has none.
    const QSharedPointer<CaptionItem> &caption() const { return m_caption; }
    const QList<QRect> &rects() const { return m_rects; }
    const QList<QRect> &rectsInThread() const { return m_rectsInThread; }

    QList<QSharedPointer<ContentItem>> innerItems() const override { return m_members; }
    using ContentItem::serialize;
    /// A group has no body, its members are sent one by one: empties the record, with a log line.
    void serialize(im::content::Content *content) const override;
    /// The members' stored forms.
    void serializes(QList<QVariant> &list) const override;

Q_SIGNALS:
    void membersChanged();
    void rectsChanged();
    void rectsInThreadChanged();

protected:
    GroupItem(Type type, int source, AccountBase *account);
    /// Without the members: their copies are for the kind to set, which knows what it can hold.
    explicit GroupItem(const GroupItem *other);

    virtual bool accepts(const ContentItem &item) const = 0;
    void setRects(const QList<QRect> &rects, bool inThread);

private:
    QList<QObject *> memberObjects() const;
    CaptionItem *captionPointer() const { return m_caption.data(); }
    QVariantList rectVariants() const;
    QVariantList rectVariantsInThread() const;
    void connectTo(ContentItem *member);
    void updateCaption();

    QList<QSharedPointer<ContentItem>> m_members;
    QSharedPointer<CaptionItem> m_caption;
    QList<QRect> m_rects;
    QList<QRect> m_rectsInThread;
};
