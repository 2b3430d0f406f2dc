// Protocol bytes -> item -> stored map -> item: the body that goes out is the one that came in.

#include "base/json.h"
#include "base/usertextblock.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "protocol/message_content.pb.h"
#include "support/fuzzing.h"

using fuzzing::check;

namespace
{

using Entity = im::content::TextEntity;

std::string recordOf(const QSharedPointer<ContentItem> &item)
{
    im::content::Content content;
    item->serialize(&content);
    return content.SerializeAsString();
}

/// Leaves what an entity of its type means.
void reduce(Entity *entity)
{
    Entity kept;
    kept.set_offset(entity->offset());
    kept.set_length(entity->length());
    kept.set_type(entity->type());
    kept.set_disable_preview(entity->disable_preview());
    switch (entity->type()) {
    case Entity::MENTION_NAME:
    case Entity::BOT_COMMAND:
        kept.set_mention_user_id(entity->mention_user_id());
        break;
    case Entity::HYPERLINK:
        kept.set_hyperlink(entity->hyperlink());
        break;
    case Entity::VIDEO_POSITION:
        kept.set_video_position(entity->video_position());
        break;
    case Entity::CUSTOM_EMOJI:
        kept.set_custom_emoji_pack_id(entity->custom_emoji_pack_id());
        kept.set_custom_emoji_id(entity->custom_emoji_id());
        break;
    case Entity::CODE_BLOCK:
        kept.set_code_lang(entity->code_lang());
        [[fallthrough]];
    case Entity::QUOTED:
        kept.set_collapsed(entity->collapsed());
        break;
    default:
        break;
    }
    *entity = kept;
}

/// What an item keeps of a record: all that this client knows, without the buttons.
std::string expectedRecord(const std::string &bytes)
{
    im::content::Content content;
    content.ParseFromString(bytes);
    content.DiscardUnknownFields();
    content.clear_buttons();
    for (Entity &entity : *content.mutable_text()->mutable_textentity())
        reduce(&entity);
    return content.SerializeAsString();
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    const std::string bytes(input.data(), size_t(input.size()));
    const auto item = makeContentItem(bytes, 2, 1, nullptr);
    if (!item)
        return;
    const std::string record = recordOf(item);
    if (item->isTextMsg())
        check(record == expectedRecord(bytes), "the body comes out as it came in");

    const auto received = makeContentItem(record, 2, 1, nullptr);
    check(received && recordOf(received) == record, "what was sent is the same item");

    // The stored form knows no effects below zero; the protocol has none.
    if (item->effect() < 0)
        return;
    const QMap<QString, QVariant> map = serializeContent(item);
    const auto stored = makeContentItem(map, 1, nullptr);
    check(stored && recordOf(stored) == record, "what was stored is the same item");
    const auto read = makeContentItem(mapToJson(map).toStdString(), 1, 1, nullptr);
    check(read && recordOf(read) == record, "what was stored as JSON is the same item");
    check(read->textEntity() == item->textEntity(), "so are its entities in memory");
}
