#include "content/items/captionitem.h"

CaptionItem::CaptionItem(const CaptionItem *other) : ContentItem(other), m_member(other->m_member)
{
}

void CaptionItem::setMember(const QSharedPointer<ContentItem> &member)
{
    const bool isOther = m_member != member;
    m_member = member;
    if (member)
        setContent(member->content(), member->textEntity());
    else
        setContent(QString(), UserTextBlocks());
    if (isOther)
        Q_EMIT memberChanged();
}

QSize CaptionItem::calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool)
{
    return calcCaptionSize(lineCount, maxWidth, maxRowCount);
}
