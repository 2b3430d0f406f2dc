#include "content/contentitem.h"

#include "base/drawabletextbase.h"
#include "base/drawabletextutil.h"
#include "base/json.h"
#include "base/storedvalue.h"
#include "base/util.h"
#include "content/contentmetrics.h"
#include "content/filedata.h"
#include "content/modelbaseutil.h"
#include "content/remainder_p.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "settings/appsettingmodel.h"

#include <QGuiApplication>
#include <QJSEngine>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace
{

constexpr int maxLargeEmoji = 4096;

qint16 saturated(qint64 value)
{
    using Limits = std::numeric_limits<qint16>;
    return qint16(std::clamp<qint64>(value, Limits::min(), Limits::max()));
}

/// Ids come from stored JSON as any kind of number. One that the protocol cannot carry is nothing:
/// neither somebody else's nor, as 0 of a mention is, everybody's.
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

bool isFoldable(const UserTextBlock &block)
{
    return block.type == TextEntityType::CodeBlock || block.type == TextEntityType::Quoted;
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

constexpr auto remainderKey = [] { return QStringLiteral("rest"); };

Remainder::Record storedRemainder(const QVariant &value, int type)
{
    return Remainder::fromBytes(StoredValue::toBytes(value, remainderKey()), type);
}

bool isLink(const UserTextBlock &block)
{
    return block.type == TextEntityType::Url || block.type == TextEntityType::Hyperlink;
}

QList<QSharedPointer<FileData>> filesOf(ContentItem *item)
{
    QList<QSharedPointer<FileData>> files;
    item->getFile(files);
    return files;
}

} // namespace

static_assert(int(TextEntityType::Quoted) == im::content::TextEntity::QUOTED
              && int(TextEntityType::Quoted) == im::content::TextEntity::Type_MAX);

/// What most of a hundred thousand items do not have.
struct ContentItem::Extra {
    UserTextBlocks textEntity;
    std::unique_ptr<im::content::Content> remainder; ///< mostly null
    qint32 effect = 0;
    int rowLimit = 0; ///< of the measuring under way
    qint16 contentHeightInThread = 0;
    qint16 contentWidthInThread = 0;
    bool isGame = false;
    bool isElided = false;
};

const ContentItem::Extra &ContentItem::extra() const
{
    static const Extra none;
    return m_extra ? *m_extra : none;
}

ContentItem::Extra &ContentItem::ownExtra()
{
    if (!m_extra)
        m_extra = std::make_unique<Extra>();
    return *m_extra;
}

template <typename Value>
bool ContentItem::setExtra(Value Extra::*field, const std::type_identity_t<Value> &value)
{
    if (extra().*field == value)
        return false;
    ownExtra().*field = value;
    return true;
}

ContentItem::ContentItem(int source, AccountBase *) : m_source(source)
{
    // The shared pointers own the item, whatever QML does with it.
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

ContentItem::ContentItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : ContentItem(source, account)
{
    m_type = ModelBaseUtil::messageTypeStrToInt(map.value(QStringLiteral("type")).toString());
    m_content = map.value(QStringLiteral("content")).toString();
    setExtra(&Extra::effect, StoredValue::toInt32(map.value(QStringLiteral("effect"))));

    UserTextBlocks entities;
    if (const auto blocks = map.constFind(QStringLiteral("entity")); blocks != map.constEnd()) {
        entities = blocks->value<UserTextBlocks>();
    } else if (const auto json = map.constFind(QStringLiteral("dbEntity"));
               json != map.constEnd()) {
        entities = deserializeEnities(jsonToList(json->toByteArray(), mostEntities + 1));
    }
    if (map.value(QStringLiteral("disable_preview")).toBool()) {
        for (UserTextBlock &block : entities)
            block.disablePreview |= isLink(block);
    }
    setExtra(&Extra::textEntity, entities);
    if (const auto rest = map.constFind(remainderKey()); rest != map.constEnd()) {
        if (auto remainder = storedRemainder(*rest, m_type))
            ownExtra().remainder = std::move(remainder);
    }
}

ContentItem::ContentItem(const im::content::Content &content, int source, AccountBase *account)
    : ContentItem(source, account)
{
    m_type = content.data_case();
    if (content.has_text())
        deserializeText(content.text());
}

ContentItem::ContentItem(const ContentItem *other) : ContentItem(1, nullptr)
{
    m_type = other->m_type;
    m_content = other->m_content;
    setExtra(&Extra::textEntity, other->textEntity());
    if (other->hasRemainder())
        ownExtra().remainder = std::make_unique<im::content::Content>(*other->extra().remainder);
}

ContentItem::~ContentItem() = default;

const UserTextBlocks &ContentItem::textEntity() const
{
    return extra().textEntity;
}

bool ContentItem::isGame() const
{
    return extra().isGame;
}

bool ContentItem::isElided() const
{
    return extra().isElided;
}

qint16 ContentItem::contentHeightInThread() const
{
    return extra().contentHeightInThread;
}

qint16 ContentItem::contentWidthInThread() const
{
    return extra().contentWidthInThread;
}

qint32 ContentItem::effect() const
{
    return extra().effect;
}

bool ContentItem::hasRemainder() const
{
    return extra().remainder != nullptr;
}

QVariantList ContentItem::spoilers() const
{
    QVariantList list;
    for (const UserTextBlock &block : textEntity()) {
        if (block.type != TextEntityType::Spoiler)
            continue;
        const auto range = block.clampedTo(m_content.size());
        list.append(QVariantMap{{QStringLiteral("from"), int(range.from)},
                                {QStringLiteral("len"), int(range.len)}});
    }
    return list;
}

// Stored form

void ContentItem::serializes(QList<QVariant> &list) const
{
    QMap<QString, QVariant> map;
    serialize(map);
    list.append(QVariant(map));
}

void ContentItem::serialize(QMap<QString, QVariant> &map) const
{
    if (m_type != System) {
        map.insert(QStringLiteral("type"),
                   ModelBaseUtil::messageTypeIntToStr(isTextMsg() ? qint32(Text) : m_type));
    }
    map.insert(QStringLiteral("content"), m_content);
    if (!textEntity().isEmpty()) {
        map.insert(QStringLiteral("dbEntity"), QString::fromUtf8(listToJson(serializeEntities())));
    }
    if (effect() > 0)
        map.insert(QStringLiteral("effect"), effect());
    if (hasRemainder())
        map.insert(remainderKey(), Remainder::toVariant(*extra().remainder));
}

void ContentItem::deserialize(const QMap<QString, QVariant> &map)
{
    update(map.value(QStringLiteral("content")).toString(),
           deserializeEnities(map.value(QStringLiteral("entity")).toList()),
           StoredValue::toInt32(map.value(QStringLiteral("effect"))));
    setRemainder(storedRemainder(map.value(remainderKey()), isTextMsg() ? Text : m_type));
}

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

void ContentItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    writeText(content->mutable_text());
}

void ContentItem::startRecord(im::content::Content *content) const
{
    if (hasRemainder())
        *content = *extra().remainder;
    else
        content->Clear();
}

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

void ContentItem::setContent(const im::content::Content &content)
{
    if (!content.has_text()) {
        qCDebug(lcModel, "A text cannot be updated from a content of type %d.",
                int(content.data_case()));
        return;
    }
    updateText(content.text());
    keepRemainder(content);
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

void ContentItem::updateText(const im::content::Text &record)
{
    update(Util::fromUtf8(record.text()), entitiesOf(record), record.effect());
}

void ContentItem::deserializeText(const im::content::Text &record)
{
    m_content = Util::fromUtf8(record.text());
    if (hasEntity() || record.textentity_size() > 0)
        ownExtra().textEntity = entitiesOf(record);
    setExtra(&Extra::effect, record.effect());
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

void ContentItem::keepRemainder(const im::content::Content &content)
{
    const bool mayExist = Remainder::mayExist(content);
    if (!hasRemainder() && !mayExist)
        return;
    // What is left is looked for beside what the item alone writes.
    const auto before = std::exchange(ownExtra().remainder, nullptr);
    if (mayExist) {
        im::content::Content written;
        serialize(&written);
        ownExtra().remainder = Remainder::between(content, written);
    }
    if (!Remainder::haveSameButtons(before.get(), extra().remainder.get()))
        Q_EMIT buttonsChanged();
}

void ContentItem::setRemainder(std::unique_ptr<im::content::Content> remainder)
{
    if (!hasRemainder() && !remainder)
        return;
    const auto before = std::exchange(ownExtra().remainder, std::move(remainder));
    if (!Remainder::haveSameButtons(before.get(), extra().remainder.get()))
        Q_EMIT buttonsChanged();
}

QVariantList ContentItem::buttons() const
{
    return Remainder::buttons(extra().remainder.get());
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

// Updates

void ContentItem::setContent(const QString &content, const UserTextBlocks &blocks)
{
    update(content, blocks, effect());
}

void ContentItem::update(const QString &content, const UserTextBlocks &blocks, qint32 effect)
{
    // First all values, then all signals: a handler never sees entities of another text.
    const bool textChanged = content != m_content;
    // Hidden ranges end where the text does.
    const QVariantList hidden = textChanged && hasEntity() ? spoilers() : QVariantList();
    const bool blocksChanged = setExtra(&Extra::textEntity, blocks);
    if (blocksChanged)
        Remainder::forgetEntities(ownExtra().remainder);
    if (textChanged)
        m_content = content;
    const bool effectIsNew = setExtra(&Extra::effect, effect);

    if (blocksChanged)
        Q_EMIT textEntityChanged(textEntityVariant());
    if (blocksChanged || (!hidden.isEmpty() && spoilers() != hidden))
        Q_EMIT spoilersChanged();
    if (textChanged)
        Q_EMIT contentChanged(m_content);
    else if (blocksChanged)
        Q_EMIT needRecalcSize();
    if (effectIsNew)
        Q_EMIT effectChanged();
}

void ContentItem::setCollapsed(int index, bool collapsed)
{
    if (index < 0 || index >= textEntity().size() || !isFoldable(textEntity().at(index)))
        return;
    QVariantMap data = textEntity().at(index).data.toMap();
    QVariant &held = data[QStringLiteral("collapsed")];
    if (held.isValid() && held.toBool() == collapsed)
        return;
    held = collapsed;
    ownExtra().textEntity[index].data = data;
    Q_EMIT textEntityChanged(textEntityVariant());
    Q_EMIT needRecalcSize();
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

bool ContentItem::isTextMsg() const
{
    return m_type == Text || m_type == LargeEmojiText || m_type == EmojiGame;
}

QString ContentItem::getKeyword() const
{
    QString keyword = m_content;
    for (const auto &item : innerItems()) {
        const QString line = item->getKeyword();
        if (!keyword.isEmpty() && !line.isEmpty())
            keyword += u'\n';
        keyword += line;
    }
    return keyword;
}

// Files

void ContentItem::getFile(QList<QSharedPointer<FileData>> &files)
{
    for (const auto &item : innerItems())
        item->getFile(files);
}

void ContentItem::getFileIdsByExistCache(QList<QString> &ids)
{
    for (const auto &file : filesOf(this)) {
        if (!file->fileId().isEmpty() && file->cacheFileExist())
            ids.append(file->fileId());
    }
}

QSharedPointer<FileData> ContentItem::getThumbFile()
{
    for (const auto &item : innerItems()) {
        if (auto file = item->getThumbFile())
            return file;
    }
    return {};
}

void ContentItem::initFileStateWithCloudDriveFile()
{
    for (const auto &file : filesOf(this)) {
        if (file->awaitsUpload() && !file->fileId().isEmpty())
            file->setFileState(file->exists() ? BaseFile::Downloaded : BaseFile::NotDownloaded);
    }
}

// Measuring

void ContentItem::calcSize(int maxWidth, int rowLimit, int maxRowCount, int reasons, bool inThread)
{
    constexpr int always = CONTENT_CHANGED | MAX_WIDTH_CHANGED | FONT_SIZE_CHANGED
        | PLAIN_MODE_CHANGED | MAX_ROW_COUNT_CHANGED;
    if (!(reasons & always) && !((reasons & LARGE_EMOJI_CHANGED) && m_emojiCount >= 1))
        return;
    setExtra(&Extra::rowLimit, rowLimit);
    int lineCount = 0;
    storeSize(calcContentSize(lineCount, maxWidth, maxRowCount, inThread), inThread);
}

QSize ContentItem::calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool)
{
    const AppSettingModel *settings = AppSettingModel::instance();
    const bool plainMode = settings->plainModel();
    const bool largeEmoji = settings->largeEmoji();

    int count = 0;
    if (std::none_of(textEntity().cbegin(), textEntity().cend(), isFoldable))
        count = DrawableTextUtil::emojiCount(m_content, maxLargeEmoji);
    const bool game = count == 1 && Util::isEmojiGame(m_content);

    QSize size;
    if (game) {
        size = QSize(100, plainMode ? 100 : 120);
        lineCount = 1;
        setExtra(&Extra::isElided, false);
    } else if (largeEmoji && count >= 1) {
        const int fontSize = ContentMetrics::largeEmojiPixelSize(count);
        size =
            calcTextSize(lineCount, maxWidth, 0, maxRowCount, fontSize, plainMode ? 0 : 14, false);
    } else {
        size = calcTextSize(lineCount, maxWidth, extra().rowLimit, maxRowCount,
                            settings->themeFontSize(), 0, true);
    }

    setIsGame(game);
    setLineCount(lineCount);
    setEmojiCount(qint16(count));
    // A caption of emoji alone does not make a text of its item.
    if (isTextMsg())
        setType(game ? EmojiGame : largeEmoji && count >= 1 ? LargeEmojiText : Text);
    return size;
}

QSize ContentItem::calcCaptionSize(int &lineCount, int maxWidth, int maxRowCount)
{
    QSize size;
    lineCount = 0;
    setExtra(&Extra::isElided, false);
    if (!m_content.isEmpty()) {
        size = calcTextSize(lineCount, maxWidth, extra().rowLimit, maxRowCount,
                            AppSettingModel::instance()->themeFontSize(), 0, true);
    }
    setLineCount(lineCount);
    return size;
}

QSize ContentItem::calcTextSize(int &lineCount, int maxWidth, int rowLimit, int maxRowCount,
                                int fontPixelSize, int extraHeight, bool plainText)
{
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        ImLog::error(lcModel(),
                     QStringLiteral("A text cannot be measured without a QGuiApplication."));
        lineCount = 0;
        return {};
    }
    const auto measured = DrawableTextBase::calculateSize(
        m_content, maxWidth, ContentMetrics::textFont(fontPixelSize), maxRowCount, 0.0, rowLimit,
        textEntity(), true, plainText, ContentMetrics::elisionTolerance(maxRowCount));
    lineCount = measured.lineCount;
    setExtra(&Extra::isElided, measured.elided);
    const double height =
        measured.size.height() + extraHeight + (measured.elided ? ContentMetrics::ExpandHeight : 0);
    // A letter may be wider than a line, an item may not.
    const double width =
        maxWidth > 0 ? std::min<double>(measured.size.width(), maxWidth) : measured.size.width();
    return {saturated(qint64(std::ceil(width))), saturated(qint64(std::ceil(height)))};
}

void ContentItem::resetSize()
{
    storeSize({0, 0}, false);
    storeSize({0, 0}, true);
    Q_EMIT needRecalcSize();
}

void ContentItem::storeSize(QSize size, bool inThread)
{
    const qint16 height = saturated(size.height());
    const qint16 width = saturated(size.width());
    if (inThread) {
        setContentHeightInThread(height);
        setContentWidthInThread(width);
        return;
    }
    const bool heightChanged = height != m_contentHeight;
    const bool widthChanged = width != m_contentWidth;
    m_contentHeight = height;
    m_contentWidth = width;
    if (heightChanged)
        Q_EMIT contentHeightChanged(height);
    if (widthChanged)
        Q_EMIT contentWidthChanged(width);
}

void ContentItem::setContentHeight(MessageBase *msgItem)
{
    if (msgItem)
        storeSize({m_contentWidth, msgItem->contentHeight()}, false);
}

void ContentItem::setContentWidth(MessageBase *msgItem)
{
    if (msgItem)
        storeSize({msgItem->contentWidth(), m_contentHeight}, false);
}

void ContentItem::setContentHeightInThread(qint16 newContentHeightInThread)
{
    if (setExtra(&Extra::contentHeightInThread, newContentHeightInThread))
        Q_EMIT contentHeightInThreadChanged();
}

void ContentItem::setContentWidthInThread(qint16 newContentWidthInThread)
{
    if (setExtra(&Extra::contentWidthInThread, newContentWidthInThread))
        Q_EMIT contentWidthInThreadChanged();
}

void ContentItem::setType(qint32 type)
{
    if (std::exchange(m_type, type) != type)
        Q_EMIT typeChanged();
}

void ContentItem::setEmojiCount(qint16 emojiCount)
{
    // The signal's argument is narrower than the property; a handler that counts reads the
    // property.
    if (std::exchange(m_emojiCount, emojiCount) != emojiCount)
        Q_EMIT emojiCountChanged(qint8(emojiCount));
}

void ContentItem::setLineCount(int lineCount)
{
    const qint16 count = saturated(lineCount);
    if (std::exchange(m_lineCount, count) != count)
        Q_EMIT lineCountChanged(count);
}

void ContentItem::setIsGame(bool isGame)
{
    if (setExtra(&Extra::isGame, isGame))
        Q_EMIT isGameChanged(isGame);
}
