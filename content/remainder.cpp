#include "content/remainder_p.h"

#include "base/usertextblock.h"
#include "protocol/message_content.pb.h"

#include <QByteArray>
#include <QLoggingCategory>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/unknown_field_set.h>
#include <google/protobuf/util/message_differencer.h>

#include <algorithm>
#include <vector>

namespace
{

Q_LOGGING_CATEGORY(lcContent, "im.modelbase")

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;
using google::protobuf::util::MessageDifferencer;

bool hasUnknownFields(const Message &record)
{
    return !record.GetReflection()->GetUnknownFields(record).empty();
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
    if (body.buttons_size() > 0 || hasUnknownFields(body) || !body.has_text())
        return true;
    return ::mayExist(body.text());
}

Remainder::Record Remainder::between(const im::content::Content &body,
                                     const im::content::Content &written)
{
    auto rest = std::make_unique<im::content::Content>(body);
    subtract(*rest, written);
    return rest->ByteSizeLong() > 0 ? std::move(rest) : nullptr;
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
    return QString::fromLatin1(QByteArray::fromStdString(remainder.SerializeAsString()).toBase64());
}

Remainder::Record Remainder::fromVariant(const QVariant &value, int type)
{
    const QByteArray encoded = value.toByteArray();
    if (encoded.isEmpty())
        return nullptr;
    const auto bytes =
        QByteArray::fromBase64Encoding(encoded, QByteArray::AbortOnBase64DecodingErrors);
    auto record = std::make_unique<im::content::Content>();
    const bool isWhole =
        bytes && record->ParseFromArray(bytes.decoded.constData(), int(bytes.decoded.size()));
    const int body = isWhole ? int(record->data_case()) : 0;
    if (!isWhole || (body != 0 && body != type)) {
        qCWarning(lcContent, "The remainder of a stored content of type %d is damaged.", type);
        return nullptr;
    }
    return record;
}

QVariantList Remainder::buttons(const im::content::Content *remainder)
{
    QVariantList rows;
    if (!remainder)
        return rows;
    for (const auto &record : remainder->buttons()) {
        QVariantList row;
        for (const auto &button : record.buttons()) {
            QVariantMap map{{QStringLiteral("id"), QString::fromStdString(button.id())},
                            {QStringLiteral("text"), QString::fromStdString(button.text())}};
            if (button.has_url())
                map.insert(QStringLiteral("url"), QString::fromStdString(button.url()));
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
