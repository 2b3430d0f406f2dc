#include "content/items/captionitem.h"

#include "content/changes_p.h"

template <>
struct Fields<CaptionItem> {
    using Base = ContentItem;
    static constexpr std::tuple table{derived<&CaptionItem::member, &CaptionItem::memberChanged>};
};

CaptionItem::CaptionItem(const CaptionItem *other) : ContentItem(other), m_member(other->m_member)
{
}

void CaptionItem::setMember(const QSharedPointer<ContentItem> &member)
{
    const Changes changes(this);
    m_member = member;
    if (member)
        setContent(member->content(), member->textEntity());
    else
        setContent(QString(), UserTextBlocks());
}

QSize CaptionItem::calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool)
{
    return calcCaptionSize(lineCount, maxWidth, maxRowCount);
}
