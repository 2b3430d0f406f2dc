#pragma once

#include "modelbase_export.h"

#include <QMap>
#include <QSharedPointer>
#include <QVariant>

#include <string>

class AccountBase;
class ContentItem;

namespace im::content
{
class Content;
}

// The factory. Each function gives null for what it cannot make; makeContentItem() and
// deserializeContent() also a debug line in the category "im.modelbase". Groups and combined
// messages have constructors of their own and are not made here.
//
// `source` is the model source type that the content belongs to: 1 for chat messages, the others
// stand at ModelBaseUtil::getModelSourceTypeString(). `account` may be null; then files are not
// shared between items, and stickers are not made, since the account's sticker provider makes them.
// Items do not own it, and it may go before them.
//
// Thread: any, for stickers the account's; the item belongs to the calling thread.

/// From a stored record. `version` is im.Message.content_format_ver: above 1 `bytes` are a
/// serialised im.content.Content, else JSON (mapToJson()): the map of serializeContent(), that map
/// under "data", or a single item map. Empty bytes give null without a word.
MODELBASE_EXPORT QSharedPointer<ContentItem> makeContentItem(const std::string &bytes, int version,
                                                             int source, AccountBase *account);
/// From the map that serializeContent() makes: the first map of its list "content". One whose
/// "type" is missing or unknown becomes a SystemItem, as which the oldest records were stored.
MODELBASE_EXPORT QSharedPointer<ContentItem> makeContentItem(const QMap<QString, QVariant> &map,
                                                             int source, AccountBase *account);
/// From one stored item map, as a content of type `type` (ContentItem::Type).
MODELBASE_EXPORT QSharedPointer<ContentItem>
deserializeContent(const QMap<QString, QVariant> &map, int type, int source, AccountBase *account);
/// From a protocol record.
MODELBASE_EXPORT QSharedPointer<ContentItem> deserializeContent(const im::content::Content &content,
                                                                int source, AccountBase *account);
/// A new item of the same kind and content, for the type of the item; null for a group or combined
/// messages. What a copy leaves out stands at the constructors that take an item.
MODELBASE_EXPORT QSharedPointer<ContentItem> copyContent(const QSharedPointer<ContentItem> &item);
/// The stored form: {"content": [maps]}, of a group one map a member. A null item gives an empty
/// map.
MODELBASE_EXPORT QMap<QString, QVariant> serializeContent(const QSharedPointer<ContentItem> &item);
/// Appends the item's stored maps to `list`.
MODELBASE_EXPORT void serializes(const QSharedPointer<ContentItem> &item, QList<QVariant> &list);
