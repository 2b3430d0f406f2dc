#pragma once

#include "content/contentitem.h"

#include <QWeakPointer>

/// The caption of a group, as an item of its own: a text, that one of the members carries. Emoji
/// alone do not become large in it.
class MODELBASE_EXPORT CaptionItem : public ContentItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    /// The member that carries the caption, where it is edited; null without a caption.
    Q_PROPERTY(ContentItem *member READ memberPointer NOTIFY memberChanged)

public:
    using ContentItem::ContentItem;
    explicit CaptionItem(const CaptionItem *other);

    QSharedPointer<ContentItem> member() const { return m_member; }
    /// Takes over the member's text; null empties the caption.
    void setMember(const QSharedPointer<ContentItem> &member);

    QSize calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread) override;

Q_SIGNALS:
    void memberChanged();

private:
    ContentItem *memberPointer() const { return member().data(); }

    QWeakPointer<ContentItem> m_member;
};
