#pragma once

#include <QVariant>

#include <google/protobuf/message.h>
#include <google/protobuf/unknown_field_set.h>

#include <functional>
#include <memory>

namespace im::content
{
class Content;
class FileInfo;
class FileThumb;
class Sticker;
class Text;
} // namespace im::content

/// What a body carries beside the fields that its item has: buttons, details of an entity that its
/// type does not ask for, fields of a newer protocol. An item keeps them, so that what it writes is
/// what it read. The record is shaped like the body; fields that the item writes are not in it.
namespace Remainder
{

using Record = std::unique_ptr<im::content::Content>;

/// False when the body certainly has nothing beside its item's fields. Spares the comparison.
bool mayExist(const im::content::Content &body);

// What mayExist() goes by; the row of a kind (kinds_p.h) names the body and its parts.

/// Each content that comes in is asked, each of its records: how to ask a type is looked up once.
template <typename Record>
bool hasUnknownFields(const Record &record)
{
    static const google::protobuf::Reflection *const reflection = Record::GetReflection();
    return !reflection->GetUnknownFields(record).empty();
}

/// Whether there is anything beside the body: buttons, fields of a newer protocol.
bool mayExistBeside(const im::content::Content &content);

/// Whether a body itself, without its captions, files and thumbnails, has more than its item.
template <typename Record>
bool hasMore(const Record &body)
{
    return hasUnknownFields(body);
}
bool hasMore(const im::content::Text &text);
bool hasMore(const im::content::Sticker &sticker);

/// Whether a part of a body has more than its item, or is there without content: items hold no
/// such caption, file or thumbnail.
bool isPartLeft(const im::content::Text &caption);
bool isPartLeft(const im::content::FileInfo &file);
bool isPartLeft(const im::content::FileThumb &thumb);

template <auto Body, auto... Parts>
bool mayExistIn(const im::content::Content &content)
{
    const auto &body = std::invoke(Body, content);
    return mayExistBeside(content) || hasMore(body)
        || (isPartLeft(std::invoke(Parts, body)) || ...);
}

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

} // namespace Remainder
