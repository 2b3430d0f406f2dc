#pragma once

#include "base/json.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "protocol/message_content.pb.h"

#include <google/protobuf/text_format.h>

// Contents on the ways that they take: received, stored, read back.

/// A record from its text.
template <typename Record>
Record fromText(const std::string &text)
{
    Record record;
    if (!google::protobuf::TextFormat::ParseFromString(text, &record))
        qFatal("%s", text.c_str());
    return record;
}

/// What a received body becomes; null when it is no such item.
template <typename Item>
QSharedPointer<Item> make(const im::content::Content &body, AccountBase *account = nullptr)
{
    return makeContentItem(body.SerializeAsString(), 2, 1, account).template dynamicCast<Item>();
}

/// What a stored map becomes.
template <typename Item>
QSharedPointer<Item> make(const QVariantMap &map, AccountBase *account = nullptr)
{
    return makeContentItem({{QStringLiteral("content"), QVariantList{map}}}, 1, account)
        .template dynamicCast<Item>();
}

/// The map that an item is stored as.
inline QVariantMap storedMap(const ContentItem &item)
{
    QVariantMap map;
    item.serialize(map);
    return map;
}

/// Stored, and read back from the JSON.
template <typename Item>
QSharedPointer<Item> restored(const QSharedPointer<Item> &item)
{
    const std::string json = mapToJson(serializeContent(item)).toStdString();
    return makeContentItem(json, 1, 1, nullptr).template dynamicCast<Item>();
}
