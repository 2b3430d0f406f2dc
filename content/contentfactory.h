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

// The factory. Each function gives null, with a log line, for what it cannot make. `account` may be
// null; stickers need one, since its sticker provider makes them. Thread: any; the item belongs to
// the calling thread.

/// From a stored record: for a `version` above 1 `bytes` are a serialised im.content.Content, else
/// the JSON of a stored map. Empty bytes give null without a word.
MODELBASE_EXPORT QSharedPointer<ContentItem> makeContentItem(const std::string &bytes, int version,
                                                             int source, AccountBase *account);
/// From the map that serializeContent() makes: the first map of its list "content".
MODELBASE_EXPORT QSharedPointer<ContentItem> makeContentItem(const QMap<QString, QVariant> &map,
                                                             int source, AccountBase *account);
/// From one stored item map, as a content of type `type`.
MODELBASE_EXPORT QSharedPointer<ContentItem>
deserializeContent(const QMap<QString, QVariant> &map, int type, int source, AccountBase *account);
/// From a protocol record.
MODELBASE_EXPORT QSharedPointer<ContentItem> deserializeContent(const im::content::Content &content,
                                                                int source, AccountBase *account);
/// A new item of the same kind and content.
MODELBASE_EXPORT QSharedPointer<ContentItem> copyContent(const QSharedPointer<ContentItem> &item);
/// The stored form: {"content": [maps]}. A null item gives an empty map.
MODELBASE_EXPORT QMap<QString, QVariant> serializeContent(const QSharedPointer<ContentItem> &item);
/// Appends the item's stored maps to `list`.
MODELBASE_EXPORT void serializes(const QSharedPointer<ContentItem> &item, QList<QVariant> &list);
