// Entities with any offsets on any text: their texts stay inside the text, and blocks expand and
// collapse.

#include "base/usertextblock.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "protocol/message_content.pb.h"
#include "support/contents.h"
#include "support/fuzzing.h"

using fuzzing::check;

namespace
{

using Entity = im::content::TextEntity;

constexpr int longestText = 300; // of texts that are measured
constexpr int mostEntities = 8;

/// Mostly inside the text or close to it.
int anyOffset(fuzzing::Pieces &data)
{
    return data.flag() ? data.number() : data.number(-2, longestText + 2);
}

Entity anyEntity(fuzzing::Pieces &data)
{
    Entity entity;
    entity.set_type(Entity::Type(data.number(-1, Entity::Type_MAX + 1)));
    entity.set_offset(anyOffset(data));
    entity.set_length(anyOffset(data));
    entity.set_disable_preview(data.flag());
    entity.set_collapsed(data.flag());
    const int number = data.number(-128, 127);
    entity.set_mention_user_id(number);
    entity.set_video_position(number);
    entity.set_custom_emoji_pack_id(number);
    entity.set_custom_emoji_id(number);
    entity.set_hyperlink("http://a.example/" + std::to_string(number));
    return entity;
}

void checkSpoilers(const ContentItem &item)
{
    for (const QVariant &element : item.spoilers()) {
        const QVariantMap range = element.toMap();
        const int from = range.value(QStringLiteral("from")).toInt();
        const int len = range.value(QStringLiteral("len")).toInt();
        check(from >= 0 && len >= 0 && from + len <= item.content().size(),
              "hidden ranges lie inside the text");
    }
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    fuzzing::Pieces data(input);
    im::content::Content content;
    for (int left = data.number(0, mostEntities); left > 0; --left)
        *content.mutable_text()->add_textentity() = anyEntity(data);
    const QString text = fuzzing::text(data.rest()).left(longestText);

    const auto item = deserializeContent(content, 1, nullptr);
    if (!item)
        return;
    item->setContent(text, UserTextBlocks(item->textEntity()));
    check(item->textEntity() == item->deserializeEnities(item->serializeEntities()),
          "entities come back from their stored form");
    checkSpoilers(*item);
    QHash<int, QSet<int>> emoji;
    item->hasCustomEmoji(emoji);
    fuzzing::look(item);
    check(!text.isEmpty() || item->lineCount() == 0, "an empty text has no lines");
    for (int i = 0; i < item->textEntity().size(); ++i) {
        const UserTextBlocks before = item->textEntity();
        const bool collapsed =
            before.at(i).data.toMap().value(QStringLiteral("collapsed")).toBool();
        item->setCollapsed(i, !collapsed);
        item->setCollapsed(i, collapsed);
        check(item->textEntity() == before, "a block that is folded back is as it was");
    }
}
