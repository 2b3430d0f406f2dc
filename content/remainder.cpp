#include "content/remainder_p.h"

#include "base/storedvalue.h"
#include "base/usertextblock.h"
#include "base/util.h"
#include "content/contentitem.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

#include <QByteArray>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/unknown_field_set.h>
#include <google/protobuf/util/message_differencer.h>

#include <algorithm>
#include <type_traits>
#include <vector>

namespace
{

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;
using google::protobuf::util::MessageDifferencer;

/// Each content that comes in is asked, each of its records: how to ask a type is looked up once.
template <typename Record>
bool hasUnknownFields(const Record &record)
{
    static_assert(!std::is_same_v<Record, Message>);
    static const Reflection *const reflection = Record::GetReflection();
    return !reflection->GetUnknownFields(record).empty();
}

bool mayExist(const im::content::TextEntity &entity)
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

bool mayExist(const im::content::Text &text)
{
    return hasUnknownFields(text)
        || std::any_of(text.textentity().begin(), text.textentity().end(),
                       [](const auto &entity) { return mayExist(entity); });
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

bool mayExist(const im::content::FileInfo &file)
{
    return hasUnknownFields(file);
}

template <typename Record>
bool mayExist(bool isThere, const Record &record);

bool mayExist(const im::content::FileThumb &thumb)
{
    return hasUnknownFields(thumb) || mayExist(thumb.has_thumb_file(), thumb.thumb_file());
}

/// For a part of a body.
template <typename Record>
bool mayExist(bool isThere, const Record &record)
{
    return isThere && (!hasContent(record) || mayExist(record));
}

bool mayExist(const im::content::Image &body)
{
    return hasUnknownFields(body) || mayExist(body.has_image_file(), body.image_file())
        || mayExist(body.has_live_photo_file(), body.live_photo_file())
        || mayExist(body.has_thumb(), body.thumb()) || mayExist(body.has_caption(), body.caption());
}

bool mayExist(const im::content::Video &body)
{
    return hasUnknownFields(body) || mayExist(body.has_video_file(), body.video_file())
        || mayExist(body.has_thumb(), body.thumb()) || mayExist(body.has_caption(), body.caption());
}

bool mayExist(const im::content::Voice &body)
{
    return hasUnknownFields(body) || mayExist(body.has_voice_file(), body.voice_file())
        || mayExist(body.has_caption(), body.caption());
}

bool mayExist(const im::content::Audio &body)
{
    return hasUnknownFields(body) || mayExist(body.has_audio_file(), body.audio_file())
        || mayExist(body.has_thumb_file(), body.thumb_file())
        || mayExist(body.has_caption(), body.caption());
}

bool mayExist(const im::content::File &body)
{
    return hasUnknownFields(body) || mayExist(body.has_attach_file(), body.attach_file())
        || mayExist(body.has_thumb_file(), body.thumb_file())
        || mayExist(body.has_caption(), body.caption());
}

bool mayExist(const im::content::Location &body)
{
    return hasUnknownFields(body) || mayExist(body.has_caption(), body.caption());
}

bool mayExist(const im::content::Card &card)
{
    // A record that is there and empty is more than none.
    const auto isLeftOver = [](const auto &record) {
        return record.ByteSizeLong() == 0 || hasUnknownFields(record);
    };
    return hasUnknownFields(card) || (card.has_avatar_thumb() && isLeftOver(card.avatar_thumb()))
        || (card.has_caption() && (isLeftOver(card.caption()) || mayExist(card.caption())));
}

bool mayExist(const im::content::Sticker &sticker)
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
    using im::content::Content;
    if (body.buttons_size() > 0 || hasUnknownFields(body))
        return true;
    switch (body.data_case()) {
    case Content::kText:
        return ::mayExist(body.text());
    case Content::kImage:
        return ::mayExist(body.image());
    case Content::kVoice:
        return ::mayExist(body.voice());
    case Content::kAudio:
        return ::mayExist(body.audio());
    case Content::kVideo:
        return ::mayExist(body.video());
    case Content::kFile:
        return ::mayExist(body.file());
    case Content::kLocation:
        return ::mayExist(body.location());
    // What is beside the fields of the contents inside is kept by the items of those.
    case Content::kPoll:
        return hasUnknownFields(body.poll());
    case Content::kLottery:
        return hasUnknownFields(body.lottery());
    case Content::kSticker:
        return ::mayExist(body.sticker());
    case Content::kCard:
        return ::mayExist(body.card());
    case Content::kSystemAlert:
        return false; // the item keeps the record whole
    case Content::kCall:
        return hasUnknownFields(body.call());
    case Content::kMeetingInvite:
        return hasUnknownFields(body.meeting_invite());
    default:
        return true;
    }
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
    // A folder has the body of a file.
    const int expected = type == ContentItem::Folder ? int(ContentItem::File) : type;
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

bool Remainder::haveSameButtons(const im::content::Content *a, const im::content::Content *b)
{
    static const im::content::Content none;
    const auto &rows = (a ? *a : none).buttons();
    const auto &others = (b ? *b : none).buttons();
    return std::equal(rows.begin(), rows.end(), others.begin(), others.end(),
                      [](const auto &row, const auto &other) {
                          return row.SerializeAsString() == other.SerializeAsString();
                      });
}
