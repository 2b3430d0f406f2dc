#pragma once

#include "content/items/captionitem.h"
#include "content/items/innercontent_p.h"

/// The members of a group and their caption. Belongs to `group`, which learns by its
/// needRecalcSize() signal that a member wants another size.
class GroupMembers
{
public:
    explicit GroupMembers(ContentItem *group, int source);

    /// Takes over those of `items` that `canHold`, in their order and each once; the others are left
    /// out with a log line. True when that changed anything.
    bool set(const ItemList &items, bool (*canHold)(const ContentItem &item));

    const ItemList &items() const { return m_items; }
    const QSharedPointer<CaptionItem> &caption() const { return m_caption; }
    QList<QObject *> objects() const;

private:
    void connectTo(ContentItem *member);
    void updateCaption();

    ContentItem *m_group;
    ItemList m_items;
    QSharedPointer<CaptionItem> m_caption;
};
