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

/// What a body says of its sticker, but for the pack.
std::string statement(im::content::Content body)
{
    body.mutable_sticker()->clear_pid();
    return body.SerializeAsString();
}

std::string statement(const StickerItem &item)
{
    im::content::Content body;
    item.serialize(&body);
    return statement(std::move(body));
}

bool hasOwnWords(const StickerItem &item)
{
    return !item.content().isEmpty() || item.hasEntity() || item.effect() != 0;
}

} // namespace

SharedStickers::SharedStickers() = default;

SharedStickers::~SharedStickers() = default;

QSharedPointer<ContentItem> SharedStickers::sticker(const im::content::Content &content)
{
    const QString fileId = QString::fromStdString(content.sticker().sticker_file().id());
    const bool isShareable = !fileId.isEmpty() && !Remainder::mayExist(content);
    if (isShareable) {
        const auto shared = m_items.value(fileId).toStrongRef();
        if (shared && statement(*shared) == statement(content)) {
            shared->setPid(std::max(shared->pid(), content.sticker().pid()));
            return shared;
        }
    }
    const auto item = QSharedPointer<StickerItem>::create(content, chatSource, nullptr);
    if (isShareable)
        share(fileId, item);
    else
        item->keepRemainder(content);
    return item;
}

QSharedPointer<ContentItem> SharedStickers::sticker(const QMap<QString, QVariant> &map)
{
    const auto item = QSharedPointer<StickerItem>::create(map, chatSource, nullptr);
    const QString fileId = item->file() ? item->file()->fileId() : QString();
    im::content::Content body;
    item->serialize(&body);
    if (fileId.isEmpty() || hasOwnWords(*item) || Remainder::mayExist(body))
        return item;

    const auto shared = m_items.value(fileId).toStrongRef();
    if (!shared || statement(*shared) != statement(std::move(body))) {
        share(fileId, item);
        return item;
    }
    // What the map knows of this device is news to the shared records, too.
    shared->setPid(std::max(shared->pid(), item->pid()));
    shared->file()->updateFile(*item->file());
    if (shared->animatedFile())
        shared->animatedFile()->updateFile(*item->animatedFile());
    return shared;
}

void SharedStickers::share(const QString &fileId, const QSharedPointer<StickerItem> &item)
{
    // The first one stays: what others say under its id is theirs alone.
    if (m_items.value(fileId))
        return;
    if (m_items.size() >= m_purgeAt) {
        m_items.removeIf([](const auto &entry) { return entry.value().isNull(); });
        m_purgeAt = std::max<qsizetype>(64, m_items.size() * 2);
    }
    m_items.insert(fileId, item);
}
