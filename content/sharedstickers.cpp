#include "content/sharedstickers.h"

#include "content/items/stickeritem.h"
#include "content/remainder_p.h"
#include "content/stickerdata.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

#include <algorithm>

namespace
{

/// Items of the account's own messages; see ContentItem.
constexpr int chatSource = 1;

bool hasOwnWords(const StickerItem &item)
{
    return !item.content().isEmpty() || item.hasEntity() || item.effect() != 0;
}

} // namespace

SharedStickers::SharedStickers() = default;

SharedStickers::~SharedStickers() = default;

QSharedPointer<ContentItem> SharedStickers::sticker(const im::content::Content &content)
{
    const im::content::Sticker &record = content.sticker();
    if (record.sticker_file().id().empty() || Remainder::mayExist(content)) {
        const auto item = QSharedPointer<StickerItem>::create(content, chatSource, nullptr);
        item->keepRemainder(content);
        return item;
    }
    QWeakPointer<StickerItem> &entry = entryOf(record.sticker_file().id());
    const auto shared = entry.toStrongRef();
    if (shared && shared->says(record)) {
        shared->setPid(std::max(shared->pid(), record.pid()));
        return shared;
    }
    const auto item = QSharedPointer<StickerItem>::create(content, chatSource, nullptr);
    if (!shared) // the first one stays: what others say under its id is theirs alone
        entry = item;
    return item;
}

QSharedPointer<ContentItem> SharedStickers::sticker(const QMap<QString, QVariant> &map)
{
    const auto item = QSharedPointer<StickerItem>::create(map, chatSource, nullptr);
    im::content::Content body;
    item->serialize(&body);
    const std::string &fileId = body.sticker().sticker_file().id();
    if (fileId.empty() || hasOwnWords(*item) || Remainder::mayExist(body))
        return item;

    QWeakPointer<StickerItem> &entry = entryOf(fileId);
    const auto shared = entry.toStrongRef();
    if (!shared)
        entry = item;
    if (!shared || !shared->says(body.sticker()))
        return item;
    // What the map knows of this device is news to the shared records, too.
    shared->file()->updateFile(*item->file());
    if (shared->animatedFile())
        shared->animatedFile()->updateFile(*item->animatedFile());
    shared->setPid(std::max(shared->pid(), item->pid()));
    return shared;
}

QWeakPointer<StickerItem> &SharedStickers::entryOf(const std::string &fileId)
{
    if (m_items.size() >= m_purgeAt) {
        std::erase_if(m_items, [](const auto &entry) { return entry.second.isNull(); });
        m_purgeAt = std::max<std::size_t>(64, m_items.size() * 2);
    }
    return m_items[fileId];
}
