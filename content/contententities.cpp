#include "content/contentitem.h"

#include "base/storedvalue.h"
#include "base/util.h"
#include "content/contententities_p.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

#include <QUrl>

#include <algorithm>
#include <limits>
#include <optional>

// The entities of a text: both forms, and queries.

namespace
{

/// An id of stored JSON, which may be any kind of number, for the protocol. Nothing for one out of
/// range: another number would be another user's id, and 0 everybody's.
std::optional<qint32> wireId(const QVariant &id)
{
    using Limits = std::numeric_limits<qint32>;
    const qint64 number = StoredValue::toInt64(id);
    if (number > Limits::max())
        return std::nullopt;
    return qint32(std::max<qint64>(number, Limits::min()));
}

struct CustomEmoji {
    qint32 pack = 0;
    qint32 emoji = 0;
};

std::optional<CustomEmoji> customEmoji(const UserTextBlock &block)
{
    const QVariantMap data = block.data.toMap();
    const auto pack = wireId(data.value(QStringLiteral("pack_id")));
    const auto emoji = wireId(data.value(QStringLiteral("emoji_id")));
    return pack && emoji ? std::optional(CustomEmoji{*pack, *emoji}) : std::nullopt;
}

/// How many of a text's entities are kept.
qsizetype keptEntities(qsizetype count)
{
    if (count <= ContentItem::mostEntities)
        return count;
    ImLog::error(lcModel(),
                 QStringLiteral("A text has more than %1 entities; the others are dropped.")
                     .arg(ContentItem::mostEntities));
    return ContentItem::mostEntities;
}

} // namespace

static_assert(int(TextEntityType::Quoted) == im::content::TextEntity::QUOTED
              && int(TextEntityType::Quoted) == im::content::TextEntity::Type_MAX);

// Stored form

QList<QVariant> ContentItem::serializeEntities() const
{
    QList<QVariant> list;
    list.reserve(textEntity().size());
    for (const UserTextBlock &block : textEntity()) {
        list.append(QVariantMap{{QStringLiteral("from"), block.from},
                                {QStringLiteral("len"), block.len},
                                {QStringLiteral("type"), block.type},
                                {QStringLiteral("data"), block.data},
                                {QStringLiteral("disable_preview"), block.disablePreview}});
    }
    return list;
}

UserTextBlocks ContentItem::deserializeEnities(const QList<QVariant> &list) const
{
    UserTextBlocks blocks;
    const qsizetype count = keptEntities(list.size());
    blocks.reserve(count);
    for (qsizetype i = 0; i < count; ++i) {
        const QVariantMap map = list.at(i).toMap();
        UserTextBlock block;
        block.from = StoredValue::toInt32(map.value(QStringLiteral("from")));
        block.len = StoredValue::toInt32(map.value(QStringLiteral("len")));
        block.type = StoredValue::toInt32(map.value(QStringLiteral("type")));
        block.data = map.value(QStringLiteral("data"));
        // JSON has a null for what is no value at all in memory.
        if (block.data.metaType().id() == QMetaType::Nullptr)
            block.data.clear();
        block.disablePreview = map.value(QStringLiteral("disable_preview")).toBool();
        blocks.append(std::move(block));
    }
    return blocks;
}

// Protocol

void ContentItem::serializeText(im::content::Text *record) const
{
    record->Clear();
    writeText(record);
}

void ContentItem::writeText(im::content::Text *record) const
{
    record->set_text(m_content.toStdString());
    record->set_effect(effect());
    const UserTextBlocks &blocks = textEntity();
    if (record->textentity_size() != blocks.size()) {
        record->clear_textentity();
        for (qsizetype i = 0; i < blocks.size(); ++i)
            record->add_textentity();
    }
    bool isWhole = true;
    for (qsizetype i = 0; i < blocks.size(); ++i) {
        im::content::TextEntity *entity = record->mutable_textentity(int(i));
        serializeEntity(entity, blocks.at(i));
        isWhole = isWhole && entity->type() == blocks.at(i).type;
    }
    if (!isWhole) {
        ImLog::error(lcModel(),
                     QStringLiteral("Ids of mentions or emoji that no message can carry are not "
                                    "written."));
    }
}

void ContentItem::serializeEntity(im::content::TextEntity *entity, const UserTextBlock &block) const
{
    entity->set_offset(block.from);
    entity->set_length(block.len);
    entity->set_type(im::content::TextEntity::Type(block.type));
    entity->set_disable_preview(block.disablePreview);
    const auto refuse = [entity] { entity->set_type(im::content::TextEntity::UNKNOWN); };
    switch (block.type) {
    case TextEntityType::MentionName:
    case TextEntityType::BotCommand:
        if (const auto id = wireId(block.data))
            entity->set_mention_user_id(*id);
        else
            refuse();
        break;
    case TextEntityType::Hyperlink:
        entity->set_hyperlink(block.data.toString().toStdString());
        break;
    case TextEntityType::VideoPosition:
        entity->set_video_position(StoredValue::toInt32(block.data));
        break;
    case TextEntityType::CustomEmoji:
        if (const auto ids = customEmoji(block)) {
            entity->set_custom_emoji_pack_id(ids->pack);
            entity->set_custom_emoji_id(ids->emoji);
        } else {
            refuse();
        }
        break;
    case TextEntityType::CodeBlock: {
        const QVariantMap data = block.data.toMap();
        entity->set_code_lang(data.value(QStringLiteral("lang")).toString().toStdString());
        entity->set_collapsed(data.value(QStringLiteral("collapsed")).toBool());
        break;
    }
    case TextEntityType::Quoted:
        entity->set_collapsed(block.data.toMap().value(QStringLiteral("collapsed")).toBool());
        break;
    default:
        break;
    }
}

UserTextBlocks ContentItem::entitiesOf(const im::content::Text &record) const
{
    UserTextBlocks blocks;
    if (record.textentity_size() == 0)
        return blocks;
    const qsizetype count = keptEntities(record.textentity_size());
    blocks.reserve(count);
    for (qsizetype i = 0; i < count; ++i)
        blocks.append(deserializeEntity(record.textentity(int(i))));
    return blocks;
}

UserTextBlock ContentItem::deserializeEntity(const im::content::TextEntity &entity) const
{
    UserTextBlock block{
        entity.offset(), entity.length(), qint32(entity.type()), {}, entity.disable_preview()};
    switch (block.type) {
    case TextEntityType::MentionName:
    case TextEntityType::BotCommand:
        block.data = entity.mention_user_id();
        break;
    case TextEntityType::Hyperlink:
        block.data = Util::fromUtf8(entity.hyperlink());
        break;
    case TextEntityType::VideoPosition:
        block.data = entity.video_position();
        break;
    case TextEntityType::CustomEmoji:
        block.data = QVariantMap{{QStringLiteral("pack_id"), entity.custom_emoji_pack_id()},
                                 {QStringLiteral("emoji_id"), entity.custom_emoji_id()}};
        break;
    case TextEntityType::CodeBlock:
        block.data = QVariantMap{{QStringLiteral("lang"), Util::fromUtf8(entity.code_lang())},
                                 {QStringLiteral("collapsed"), entity.collapsed()}};
        break;
    case TextEntityType::Quoted:
        block.data = QVariantMap{{QStringLiteral("collapsed"), entity.collapsed()}};
        break;
    default:
        break;
    }
    return block;
}

void ContentItem::serializeMetions(im::Message &message) const
{
    for (qint64 id : mentionUserIds()) {
        if (const auto wire = wireId(id))
            message.add_mentioned_uids(*wire);
    }
    if (mentionUsers().contains(QStringLiteral("atAll")))
        message.set_mention_all(true);
}

// What a text mentions and links to

QList<qint64> ContentItem::mentionUserIds() const
{
    QList<qint64> ids;
    for (const UserTextBlock &block : textEntity()) {
        if (block.type != TextEntityType::MentionName)
            continue;
        if (const qint64 id = StoredValue::toInt64(block.data); id >= 1)
            ids.append(id);
    }
    for (const auto &item : innerItems())
        ids += item->mentionUserIds();
    return ids;
}

QMap<QString, QVariant> ContentItem::mentionUsers() const
{
    QMap<QString, QVariant> users;
    QVariantList ids;
    for (const UserTextBlock &block : textEntity()) {
        if (block.type != TextEntityType::MentionName)
            continue;
        if (const qint64 id = StoredValue::toInt64(block.data); id >= 1)
            ids.append(id);
        else
            users.insert(QStringLiteral("atAll"), 1);
    }
    for (const auto &item : innerItems()) {
        const auto inner = item->mentionUsers();
        users.insert(inner);
        ids += inner.value(QStringLiteral("atUsers")).toList();
    }
    if (!ids.isEmpty())
        users.insert(QStringLiteral("atUsers"), ids);
    return users;
}

QList<QString> ContentItem::previewUrls(const QString &host) const
{
    QList<QString> urls;
    for (const UserTextBlock &block : textEntity()) {
        if (block.disablePreview || !isLink(block))
            continue;
        const auto range = block.clampedTo(m_content.size());
        const QString link = block.type == TextEntityType::Url
            ? m_content.mid(range.from, range.len)
            : block.data.toString();
        const QUrl url(link, QUrl::TolerantMode);
        if (url.host(QUrl::FullyEncoded) == host && !url.path().isEmpty())
            urls.append(link);
    }
    return urls;
}

bool ContentItem::hasUrl() const
{
    return std::any_of(textEntity().cbegin(), textEntity().cend(), [](const UserTextBlock &block) {
        return isLink(block) || block.type == TextEntityType::Email;
    });
}

bool ContentItem::hasCustomEmoji(QHash<int, QSet<int>> &emoji) const
{
    bool found = false;
    for (const UserTextBlock &block : textEntity()) {
        if (block.type != TextEntityType::CustomEmoji)
            continue;
        if (const auto ids = customEmoji(block)) {
            emoji[ids->pack].insert(ids->emoji);
            found = true;
        }
    }
    for (const auto &item : innerItems())
        found |= item->hasCustomEmoji(emoji);
    return found;
}
