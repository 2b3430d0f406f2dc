#include "content/contentfactory.h"

#include "account/accountbase.h"
#include "base/json.h"
#include "content/contentitem.h"
#include "content/items/combineditem.h"
#include "content/items/filegroupitem.h"
#include "content/items/innercontent_p.h"
#include "content/items/mediagroupitem.h"
#include "content/items/stickeritem.h"
#include "content/kinds_p.h"
#include "content/modelbaseutil.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

#include <google/protobuf/arena.h>

#include <algorithm>
#include <climits>
#include <typeinfo>

namespace
{

using ItemPointer = QSharedPointer<ContentItem>;
using ItemMap = QMap<QString, QVariant>;

ItemPointer checked(ItemPointer item)
{
    if (!item && Nesting::isFirstFailure())
        ImLog::info(lcModel(), QStringLiteral("makeContentItem version or content error."));
    return item;
}

/// Stored records of this format version and of older ones are JSON.
constexpr int jsonVersion = 1;

constexpr auto contentKey = [] { return QStringLiteral("content"); };
constexpr auto typeKey = [] { return QStringLiteral("type"); };

ItemPointer makeOf(const ItemMap &map, int type, int source, AccountBase *account)
{
    const Kind *row = Kind::find(type);
    return checked(row && row->fromMap ? row->fromMap(map, source, account) : ItemPointer());
}

/// The map with the list "content" that stored JSON stands for.
ItemMap storedMap(const std::string &json)
{
    ItemMap map = jsonToMap(QByteArray::fromRawData(json.data(), qsizetype(json.size())));
    if (const auto data = map.constFind(QStringLiteral("data")); data != map.constEnd())
        return data->toMap();
    if (map.contains(typeKey()))
        return {{contentKey(), QVariantList{map}}};
    return map;
}

} // namespace

ItemPointer makeContentItem(const std::string &bytes, int version, int source, AccountBase *account)
{
    if (bytes.empty())
        return {};
    if (version > jsonVersion) {
        // Most records fit into the block on the stack, which spares the allocations.
        alignas(8) char block[4096];
        google::protobuf::Arena arena(block, sizeof block);
        auto *content = google::protobuf::Arena::CreateMessage<im::content::Content>(&arena);
        if (bytes.size() > INT_MAX || !content->ParseFromString(bytes)) {
            if (Nesting::isFirstFailure())
                ImLog::info(lcModel(), QStringLiteral("makeContentItem parse pbContent failed."));
            return {};
        }
        return deserializeContent(*content, source, account);
    }
    return makeContentItem(storedMap(bytes), source, account);
}

ItemPointer makeContentItem(const ItemMap &map, int source, AccountBase *account)
{
    const QVariantList list = map.value(contentKey()).toList();
    if (list.isEmpty())
        return checked({});
    ItemMap itemMap = list.first().toMap();
    int type = ModelBaseUtil::messageTypeStrToInt(itemMap.value(typeKey()).toString());
    if (type == 0) {
        // An older record: it stored the number of a system message.
        itemMap.insert(QStringLiteral("sysType"), itemMap.value(typeKey()).toInt());
        itemMap.insert(typeKey(), QStringLiteral("system"));
        type = ContentItem::System;
    }
    return makeOf(itemMap, type, source, account);
}

ItemPointer deserializeContent(const ItemMap &map, int type, int source, AccountBase *account)
{
    if (ModelBaseUtil::messageTypeStrToInt(map.value(typeKey()).toString()) == type)
        return makeOf(map, type, source, account);
    // Whatever the map says, an item is of the kind that its class is for.
    ItemMap typed = map;
    typed.insert(typeKey(), ModelBaseUtil::messageTypeIntToStr(type));
    return makeOf(typed, type, source, account);
}

ItemPointer deserializeContent(const im::content::Content &content, int source,
                               AccountBase *account)
{
    // The number of the body's field is the content type.
    const Kind *row = Kind::find(content.data_case());
    return checked(row && row->fromRecord ? row->fromRecord(content, source, account)
                                          : ItemPointer());
}

ItemPointer makeMessageItem(const im::Message &message,
                            const std::function<ItemPointer(const im::Message &message)> &open,
                            int source, AccountBase *account)
{
    if (message.type() == im::Message::COMBINED_MESSAGES || message.combined_messages_size() > 0)
        return QSharedPointer<CombinedItem>::create(message, open, source, account);
    return open ? open(message) : ItemPointer();
}

ItemPointer makeGroupItem(const QList<ItemPointer> &members, int source, AccountBase *account)
{
    QList<ItemPointer> items = members;
    items.removeAll({});
    const auto fitInto = [&items](bool (*canHold)(const ContentItem &item)) {
        return std::all_of(items.cbegin(), items.cend(),
                           [canHold](const ItemPointer &item) { return canHold(*item); });
    };
    if (items.size() < 2)
        return {};
    if (fitInto(MediaGroupItem::canHold))
        return QSharedPointer<MediaGroupItem>::create(items, source, account);
    if (fitInto(FileGroupItem::canHold))
        return QSharedPointer<FileGroupItem>::create(items, source, account);
    ImLog::error(lcModel(),
                 QStringLiteral("Contents that no group can hold are not shown as one."));
    return {};
}

ItemPointer copyContent(const ItemPointer &item)
{
    if (!item)
        return {};
    // By class, since a type is only what an item calls itself.
    const ContentItem &other = *item;
    for (const Kind &row : Kind::all()) {
        if (row.itemClass && *row.itemClass == typeid(other))
            return row.copy(other);
    }
    // A class of the application. The types that a text takes on while it is shown are texts.
    const Kind *row = Kind::find(item->isTextMsg() ? ContentItem::Text : item->type());
    ItemPointer made = row && row->copy ? row->copy(other) : ItemPointer();
    if (!made && item->type() == ContentItem::Sticker) {
        im::content::Content body;
        item->serialize(&body);
        if (body.has_sticker()) {
            const auto sticker = QSharedPointer<StickerItem>::create(body, chatSource, nullptr);
            sticker->keepRemainder(body);
            made = sticker;
        }
    }
    return made;
}

ItemMap serializeContent(const ItemPointer &item)
{
    if (!item)
        return {};
    QVariantList list;
    serializes(item, list);
    return {{contentKey(), list}};
}

void serializes(const ItemPointer &item, QList<QVariant> &list)
{
    if (item)
        item->serializes(list);
}

ItemPointer restoreContent(const std::string &bytes, int version, int source, AccountBase *account)
{
    if (bytes.empty() || version > jsonVersion)
        return makeContentItem(bytes, version, source, account);
    return restoreContent(storedMap(bytes), source, account);
}

ItemPointer restoreContent(const ItemMap &map, int source, AccountBase *account)
{
    const QVariantList list = map.value(contentKey()).toList();
    if (list.size() > 1) {
        QList<ItemPointer> members;
        for (const QVariant &member : list)
            members.append(
                makeContentItem({{contentKey(), QVariantList{member}}}, source, account));
        const auto canHold = [](const ItemPointer &item) {
            return item && FileGroupItem::canHold(*item);
        };
        // One that cannot be read any more does not take the others along.
        if (std::any_of(members.cbegin(), members.cend(), canHold))
            members.removeIf([canHold](const ItemPointer &item) { return !canHold(item); });
        const auto group = makeGroupItem(members, source, account);
        return group ? group : members.first();
    }
    const ItemMap itemMap = list.value(0).toMap();
    if (itemMap.value(typeKey()).toString()
        == ModelBaseUtil::messageTypeIntToStr(ContentItem::Combined))
        return QSharedPointer<CombinedItem>::create(itemMap, source, account);
    return makeContentItem(map, source, account);
}
