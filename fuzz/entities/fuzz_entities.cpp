// Entities with any offsets on any text: what is read through them stays inside the text, and the
// text is measured, whatever they say.

#include "base/usertextblock.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "protocol/message_content.pb.h"
#include "support/fuzzing.h"

using fuzzing::check;

namespace
{

using Entity = im::content::TextEntity;

/// Measuring is slow, and a longer text breaks nothing that this one does not.
constexpr int longestText = 300;
constexpr int mostEntities = 8;

struct Size {
    int width;
    int height;
    int lines;

    bool operator==(const Size &) const = default;
};

/// How a view asks for a size.
struct View {
    int width;
    int rowLimit;
    int maxRowCount;

    Size measure(ContentItem &item) const
    {
        item.calcSize(width, rowLimit, maxRowCount, ContentItem::CONTENT_CHANGED, false);
        return {item.contentWidth(), item.contentHeight(), item.lineCount()};
    }
};

/// Qt shapes a few texts otherwise once it has the fonts that they need (ideographs among letters
/// of five scripts): all lines are measured, and again, before sizes are compared.
void loadFonts(ContentItem &item, int width)
{
    const UserTextBlocks blocks = item.textEntity();
    for (int i = 0; i < blocks.size(); ++i)
        item.setCollapsed(i, false);
    for (int i = 0; i < 2; ++i)
        View{width, 0, 0}.measure(item);
    item.setContent(item.content(), blocks);
}

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

void read(const ContentItem &item)
{
    for (const QVariant &element : item.spoilers()) {
        const QVariantMap range = element.toMap();
        const int from = range.value(QStringLiteral("from")).toInt();
        const int len = range.value(QStringLiteral("len")).toInt();
        check(from >= 0 && len >= 0 && from + len <= item.content().size(),
              "hidden ranges lie inside the text");
    }
    item.previewUrls(QStringLiteral("a.example"));
    item.mentionUsers();
    QHash<int, QSet<int>> emoji;
    item.hasCustomEmoji(emoji);
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    fuzzing::Pieces data(input);
    const View view{data.number(-1, 500), data.number(-1, 12), data.number(-1, 12)};
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
    read(*item);

    loadFonts(*item, view.width);
    const Size size = view.measure(*item);
    check(size.width >= 0 && size.height >= 0 && size.lines >= 0, "no size is negative");
    check(!text.isEmpty() || size.lines == 0, "an empty text has no lines");
    check(view.measure(*item) == size, "a text measured twice has the same size");

    // Folding and unfolding again.
    for (int i = 0; i < item->textEntity().size(); ++i) {
        const UserTextBlocks before = item->textEntity();
        const bool collapsed =
            before.at(i).data.toMap().value(QStringLiteral("collapsed")).toBool();
        item->setCollapsed(i, !collapsed);
        view.measure(*item);
        item->setCollapsed(i, collapsed);
        check(item->textEntity() == before, "a block that is folded back is as it was");
    }
    check(view.measure(*item) == size, "so is its size");
}
