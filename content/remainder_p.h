#pragma once

#include <QVariant>

#include <memory>

namespace im::content
{
class Content;
} // namespace im::content

/// What a body carries beside the fields that its item has: buttons, details of an entity that its
/// type does not ask for, fields of a newer protocol. An item keeps them, so that what it writes is
/// what it read. The record is shaped like the body; fields that the item writes are not in it.
namespace Remainder
{

using Record = std::unique_ptr<im::content::Content>;

/// False when the body certainly has nothing beside its item's fields. Spares the comparison.
bool mayExist(const im::content::Content &body);
/// What of `body` is not in `written`, its item's own record; null when that is nothing.
Record between(const im::content::Content &body, const im::content::Content &written);
/// Forgets what belonged to the entities of the text or caption.
void forgetEntities(Record &remainder);

/// For the stored map: Base64.
QVariant toVariant(const im::content::Content &remainder);
/// Null for no bytes, and with a log line when they are not those that toVariant() makes text of.
Record fromBytes(const QByteArray &bytes, int type);

/// The rows of inline buttons: lists of maps {"id", "text"} with "url" or "callbackData" (bytes).
QVariantList buttons(const im::content::Content *remainder);
/// Both may be null.
bool haveSameButtons(const im::content::Content *a, const im::content::Content *b);

} // namespace Remainder
