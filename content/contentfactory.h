#pragma once

#include "modelbase_export.h"

#include <QList>
#include <QMap>
#include <QSharedPointer>
#include <QVariant>

#include <functional>
#include <string>

class AccountBase;
class ContentItem;

namespace im
{
class Message;
namespace content
{
class Content;
}
} // namespace im

// The factory. Each function gives null for what it cannot make; makeContentItem() and
// deserializeContent() also a debug line in the category "im.modelbase". These make what a body is
// made into. Combined messages and groups have no body: makeMessageItem() and makeGroupItem() make
// them, and restoreContent() reads back what was stored of them.
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
/// "type" is missing or unknown becomes a SystemItem, as which the oldest records were stored; so
/// do combined messages, which restoreContent() reads.
MODELBASE_EXPORT QSharedPointer<ContentItem> makeContentItem(const QMap<QString, QVariant> &map,
                                                             int source, AccountBase *account);
/// From one stored item map, as a content of type `type` (ContentItem::Type).
MODELBASE_EXPORT QSharedPointer<ContentItem>
deserializeContent(const QMap<QString, QVariant> &map, int type, int source, AccountBase *account);
/// From a protocol record.
MODELBASE_EXPORT QSharedPointer<ContentItem> deserializeContent(const im::content::Content &content,
                                                                int source, AccountBase *account);
/// What a message contains: combined messages (im.Message.combined_messages), or else what `open`
/// makes of the message. `open` decrypts a message and makes its content (makeContentItem()), null
/// when it cannot. It is called before this returns: for the message, or for each of those that
/// were combined and is not itself combined.
MODELBASE_EXPORT QSharedPointer<ContentItem>
makeMessageItem(const im::Message &message,
                const std::function<QSharedPointer<ContentItem>(const im::Message &message)> &open,
                int source, AccountBase *account);
/// What shows messages with the same im.Message.grouped_id as one, in the order of `members`, their
/// contents: a MediaGroupItem of images and videos, a FileGroupItem where there are other files
/// among them. Null members do not count. Null when there are less than two, and, with a log line,
/// when one is of a kind that no group can hold (FileGroupItem::canHold()): then each is shown by
/// itself, so that none goes missing.
MODELBASE_EXPORT QSharedPointer<ContentItem>
makeGroupItem(const QList<QSharedPointer<ContentItem>> &members, int source, AccountBase *account);
/// A new item of the same class and content. Of a class of the application's own the copy is of the
/// class here that it derives from and that its type is made as; of a sticker that derives from
/// ContentItem alone it is a StickerItem with what its body says. Null for a group, for combined
/// messages, and for any other class. What a copy leaves out stands at the constructors that take
/// an item.
MODELBASE_EXPORT QSharedPointer<ContentItem> copyContent(const QSharedPointer<ContentItem> &item);
/// The stored form: {"content": [maps]}, of a group one map a member. A null item gives an empty
/// map. restoreContent() is the inverse.
MODELBASE_EXPORT QMap<QString, QVariant> serializeContent(const QSharedPointer<ContentItem> &item);
/// Appends the item's stored maps to `list`.
MODELBASE_EXPORT void serializes(const QSharedPointer<ContentItem> &item, QList<QVariant> &list);
/// From the stored form, whatever item it is of: as makeContentItem(), and combined messages, and
/// groups. Several maps are the members of a group; what no group can hold is left out. A group of
/// one comes back as its member, and where no member is of any group, as the first map's item.
/// `version` as with makeContentItem(): above 1 `bytes` are a body, and no map was stored.
MODELBASE_EXPORT QSharedPointer<ContentItem> restoreContent(const std::string &bytes, int version,
                                                            int source, AccountBase *account);
MODELBASE_EXPORT QSharedPointer<ContentItem> restoreContent(const QMap<QString, QVariant> &map,
                                                            int source, AccountBase *account);
