#include "content/sharedstickers.h"

#include "content/items/stickeritem.h"
#include "content/kinds_p.h"
#include "content/remainder_p.h"
#include "content/stickerdata.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

#include <algorithm>

namespace
{

bool hasText(const StickerItem &item)
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
    QWeakPointer<StickerItem> &entry = m_items.entry(record.sticker_file().id());
    const auto shared = entry.toStrongRef();
    if (shared && shared->matches(record)) {
        shared->setPid(std::max(shared->pid(), record.pid()));
        return shared;
    }
    const auto item = QSharedPointer<StickerItem>::create(content, chatSource, nullptr);
    if (!shared) // the first one stays: another sticker with its id is not shared
        entry = item;
    return item;
}

QSharedPointer<ContentItem> SharedStickers::sticker(const QMap<QString, QVariant> &map)
{
    const auto item = QSharedPointer<StickerItem>::create(map, chatSource, nullptr);
    im::content::Content body;
    item->serialize(&body);
    const std::string &fileId = body.sticker().sticker_file().id();
    if (fileId.empty() || hasText(*item) || Remainder::mayExist(body))
        return item;

    QWeakPointer<StickerItem> &entry = m_items.entry(fileId);
    const auto shared = entry.toStrongRef();
    if (!shared)
        entry = item;
    if (!shared || !shared->matches(body.sticker()))
        return item;
    // What the map knows of this device is news to the shared records, too.
    shared->file()->updateFile(*item->file());
    if (shared->animatedFile())
        shared->animatedFile()->updateFile(*item->animatedFile());
    shared->setPid(std::max(shared->pid(), item->pid()));
    return shared;
}
