#pragma once

#include "account/stickerprovider.h"

#include <QWeakPointer>

#include <string>
#include <unordered_map>

class StickerItem;

/// The sticker provider of an account whose application sets none: one item a sticker, by the id of
/// its file, as long as somebody holds it.
///
/// A sticker gets an item of its own, and is shared with none, when it has no file id, when its
/// message says more than the sticker itself does (buttons, fields of a newer protocol, a text), or
/// when it says something else than the sticker that is shared under the same file id: nobody
/// changes by a message what another message shows. Only pack ids differ freely; the largest one
/// counts. The items belong to no account, and their source is 1.
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
    qsizetype entryCount() const { return qsizetype(m_items.size()); }
    /// Forgets all items, also those that somebody holds.
    void clear() { m_items.clear(); }

private:
    QWeakPointer<StickerItem> &entryOf(const std::string &fileId);

    // By the ids as records have them: for each sticker of a history one is looked up.
    std::unordered_map<std::string, QWeakPointer<StickerItem>> m_items;
    std::size_t m_purgeAt = 64; // entries at which to look for dead ones next
};
