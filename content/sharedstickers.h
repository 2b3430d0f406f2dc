#pragma once

#include "account/stickerprovider.h"
#include "content/weakregistry.h"

#include <string>

class StickerItem;

/// The sticker provider of an account whose application sets none: one item a sticker, by the id of
/// its file, as long as somebody holds it.
///
/// A sticker gets an item of its own, which is not shared, when it has no file id, when its body
/// has more than the sticker itself (buttons, fields of a newer protocol, a text), or when it
/// differs from the sticker that is shared under the same file id: a message must not change what
/// another message shows. Only pack ids may differ; the largest one is kept. The items belong to no
/// account, and their source is 1.
///
/// Thread: the thread of the account.
class MODELBASE_EXPORT SharedStickers : public StickerProvider
{
public:
    SharedStickers();
    ~SharedStickers() override;

    QSharedPointer<ContentItem> sticker(const im::content::Content &content) override;
    QSharedPointer<ContentItem> sticker(const QMap<QString, QVariant> &map) override;
    /// How many entries there are, those of items that are gone and were not yet forgotten
    /// included.
    qsizetype entryCount() const { return m_items.size(); }
    /// Forgets all items, also those that somebody holds.
    void clear() { m_items.clear(); }

private:
    // By the ids as records have them: for each sticker of a history one is looked up.
    WeakRegistry<std::string, StickerItem> m_items;
};
