#include "content/remainder_p.h"

#include "base/storedvalue.h"
#include "base/usertextblock.h"
#include "base/util.h"
#include "content/kinds_p.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

#include <QByteArray>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/util/message_differencer.h>

#include <algorithm>
#include <vector>

namespace
{

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;
using google::protobuf::util::MessageDifferencer;
using Remainder::hasUnknownFields;

bool hasMore(const im::content::TextEntity &entity)
{
    using im::content::TextEntity;
    const auto type = entity.type();
    const bool isMention = type == TextEntity::MENTION_NAME || type == TextEntity::BOT_COMMAND;
    const bool isCode = type == TextEntity::CODE_BLOCK;
    return hasUnknownFields(entity) || entity.is_anonymous() || entity.group_id() != 0
        || (entity.mention_user_id() != 0 && !isMention)
        || (!entity.hyperlink().empty() && type != TextEntity::HYPERLINK)
        || (entity.video_position() != 0 && type != TextEntity::VIDEO_POSITION)
        || ((entity.custom_emoji_pack_id() != 0 || entity.custom_emoji_id() != 0)
            && type != TextEntity::CUSTOM_EMOJI)
        || (!entity.code_lang().empty() && !isCode)
        || (entity.collapsed() && !isCode && type != TextEntity::QUOTED);
}

// Items do not hold captions, files and thumbnails without content: those stay in the remainder.

bool hasContent(const im::content::Text &caption)
{
    return !caption.text().empty() || caption.textentity_size() > 0 || caption.effect() != 0;
}

bool hasContent(const im::content::FileInfo &file)
{
    return !file.id().empty() || !file.key().empty() || !file.checksum().empty()
        || !file.name().empty() || file.size() != 0 || file.version() != 0;
}

bool hasContent(const im::content::FileThumb &thumb)
{
    return thumb.width() != 0 || thumb.height() != 0 || !thumb.thumb_nail().empty()
        || thumb.has_thumb_file();
}

/// The getter of a record that is not there gives the default one.
template <typename Record>
bool isThere(const Record &record)
{
    return &record != &Record::default_instance();
}

/// Null for a record of nothing, and, with a log line, for one that takes too much: a byte on the
/// wire may take a hundred in memory.
Remainder::Record kept(Remainder::Record record)
{
    constexpr std::size_t mostBytes = 1 << 20;
    const std::size_t onTheWire = record->ByteSizeLong();
    if (onTheWire == 0)
        return nullptr;
    if (onTheWire > mostBytes / 100 && record->SpaceUsedLong() > mostBytes) {
        ImLog::error(lcModel(),
                     QStringLiteral("A content has more beside its fields than can be kept."));
        return nullptr;
    }
    return record;
}

void subtract(Message &from, const Message &written);

/// True when nothing was left. Elements keep their places.
bool subtractElements(Message &from, const Message &written, const FieldDescriptor *field)
{
    const Reflection *reflection = from.GetReflection();
    bool nothingLeft = true;
    for (int i = 0; i < reflection->FieldSize(from, field); ++i) {
        Message *element = reflection->MutableRepeatedMessage(&from, field, i);
        subtract(*element, reflection->GetRepeatedMessage(written, field, i));
        nothingLeft = nothingLeft && element->ByteSizeLong() == 0;
    }
    return nothingLeft;
}

bool areEqual(const Message &a, const Message &b, const FieldDescriptor *field)
{
    MessageDifferencer differencer;
    return differencer.CompareWithFields(a, b, {field}, {field});
}

/// Clears what `written` has as well.
void subtract(Message &from, const Message &written)
{
    const Reflection *reflection = from.GetReflection();
    std::vector<const FieldDescriptor *> fields;
    reflection->ListFields(from, &fields);
    for (const FieldDescriptor *field : fields) {
        const bool isMessage = field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE;
        bool isWritten = false;
        if (field->is_repeated()) {
            const bool isAligned =
                reflection->FieldSize(from, field) == reflection->FieldSize(written, field);
            isWritten = isAligned
                && (isMessage ? subtractElements(from, written, field)
                              : areEqual(from, written, field));
        } else if (!reflection->HasField(written, field)) {
            continue;
        } else if (isMessage) {
            Message *inner = reflection->MutableMessage(&from, field);
            subtract(*inner, reflection->GetMessage(written, field));
            isWritten = inner->ByteSizeLong() == 0;
        } else {
            isWritten = areEqual(from, written, field);
        }
        if (isWritten)
            reflection->ClearField(&from, field);
    }
}

} // namespace

bool Remainder::mayExist(const im::content::Content &body)
{
    const Kind *kind = Kind::find(body.data_case());
    return !kind || !kind->mayHaveRemainder || kind->mayHaveRemainder(body);
}

bool Remainder::mayExistBeside(const im::content::Content &content)
{
    return content.buttons_size() > 0 || hasUnknownFields(content);
}

bool Remainder::hasMore(const im::content::Text &text)
{
    return hasUnknownFields(text)
        || std::any_of(text.textentity().begin(), text.textentity().end(),
                       [](const auto &entity) { return ::hasMore(entity); });
}

bool Remainder::hasMore(const im::content::Sticker &sticker)
{
    if (hasUnknownFields(sticker) || sticker.pid() < 0)
        return true;
    if (sticker.has_sticker_file()) {
        const im::content::FileInfo &file = sticker.sticker_file();
        if (file.id().empty() || hasUnknownFields(file))
            return true;
    }
    if (sticker.has_animated_file()) {
        const im::AnimatedSticker &animated = sticker.animated_file();
        if (animated.file().file_id().empty() || hasUnknownFields(animated)
            || hasUnknownFields(animated.file()))
            return true;
    }
    if (sticker.has_thumb()) {
        const im::content::FileThumb &thumb = sticker.thumb();
        const im::content::FileInfo &file = thumb.thumb_file();
        if (thumb.ByteSizeLong() == 0 || hasUnknownFields(thumb)
            || (thumb.has_thumb_file() && (file.id().empty() || hasUnknownFields(file))))
            return true;
    }
    return false;
}

bool Remainder::isPartLeft(const im::content::Text &caption)
{
    return isThere(caption) && (!hasContent(caption) || hasMore(caption));
}

bool Remainder::isPartLeft(const im::content::FileInfo &file)
{
    return isThere(file) && (!hasContent(file) || hasUnknownFields(file));
}

bool Remainder::isPartLeft(const im::content::FileThumb &thumb)
{
    return isThere(thumb)
        && (!hasContent(thumb) || hasUnknownFields(thumb) || isPartLeft(thumb.thumb_file()));
}

Remainder::Record Remainder::between(const im::content::Content &body,
                                     const im::content::Content &written)
{
    auto rest = std::make_unique<im::content::Content>(body);
    subtract(*rest, written);
    return kept(std::move(rest));
}

void Remainder::forgetEntities(Record &remainder)
{
    if (!remainder || remainder->data_case() == im::content::Content::DATA_NOT_SET)
        return;
    const auto forget = [](im::content::Text *text) { text->clear_textentity(); };
    // A text is its own text; every other kind has it as its caption.
    if (remainder->has_text()) {
        forget(remainder->mutable_text());
        return;
    }
    const FieldDescriptor *body =
        remainder->GetDescriptor()->FindFieldByNumber(remainder->data_case());
    Message *message = remainder->GetReflection()->MutableMessage(remainder.get(), body);
    const FieldDescriptor *caption = message->GetDescriptor()->FindFieldByName("caption");
    if (caption && message->GetReflection()->HasField(*message, caption)) {
        forget(static_cast<im::content::Text *>(
            message->GetReflection()->MutableMessage(message, caption)));
    }
}

QVariant Remainder::toVariant(const im::content::Content &remainder)
{
    return StoredValue::fromBytes(QByteArray::fromStdString(remainder.SerializeAsString()));
}

Remainder::Record Remainder::fromBytes(const QByteArray &bytes, int type)
{
    if (bytes.isEmpty())
        return nullptr;
    auto record = std::make_unique<im::content::Content>();
    const bool isWhole = record->ParseFromArray(bytes.constData(), int(bytes.size()));
    const int body = isWhole ? int(record->data_case()) : 0;
    const Kind *kind = Kind::find(type);
    const int expected = kind ? kind->body : type;
    if (!isWhole || (body != 0 && body != expected)) {
        ImLog::error(
            lcModel(),
            QStringLiteral("The remainder of a stored content of type %1 is damaged.").arg(type));
        return nullptr;
    }
    return kept(std::move(record));
}

QVariantList Remainder::buttons(const im::content::Content *remainder)
{
    QVariantList rows;
    if (!remainder)
        return rows;
    for (const auto &record : remainder->buttons()) {
        QVariantList row;
        for (const auto &button : record.buttons()) {
            QVariantMap map{{QStringLiteral("id"), Util::fromUtf8(button.id())},
                            {QStringLiteral("text"), Util::fromUtf8(button.text())}};
            if (button.has_url())
                map.insert(QStringLiteral("url"), Util::fromUtf8(button.url()));
            if (button.has_callback_data()) {
                map.insert(QStringLiteral("callbackData"),
                           QByteArray::fromStdString(button.callback_data()));
            }
            row.append(QVariant(map));
        }
        rows.append(QVariant(row));
    }
    return rows;
}
