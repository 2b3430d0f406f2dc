#include "content/contentitem.h"

#include "base/drawabletextbase.h"
#include "base/drawabletextutil.h"
#include "base/json.h"
#include "base/storedvalue.h"
#include "base/util.h"
#include "content/changes_p.h"
#include "content/contententities_p.h"
#include "content/contentmetrics.h"
#include "content/filedata.h"
#include "content/kinds_p.h"
#include "content/modelbaseutil.h"
#include "content/remainder_p.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "settings/appsettingmodel.h"

#include <QGuiApplication>
#include <QJSEngine>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace
{

constexpr int maxLargeEmoji = 4096;

qint16 saturated(qint64 value)
{
    using Limits = std::numeric_limits<qint16>;
    return qint16(std::clamp<qint64>(value, Limits::min(), Limits::max()));
}

bool isFoldable(const UserTextBlock &block)
{
    return block.type == TextEntityType::CodeBlock || block.type == TextEntityType::Quoted;
}

constexpr auto remainderKey = [] { return QStringLiteral("rest"); };

Remainder::Record storedRemainder(const QVariant &value, int type)
{
    return Remainder::fromBytes(StoredValue::toBytes(value, remainderKey()), type);
}

QList<QSharedPointer<FileData>> filesOf(ContentItem *item)
{
    QList<QSharedPointer<FileData>> files;
    item->getFile(files);
    return files;
}

} // namespace

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

ContentItem::ContentItem(const ContentItem *other) : ContentItem(chatSource, nullptr)
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
    const Changes changes(this);
    setText(map.value(QStringLiteral("content")).toString(),
            deserializeEnities(map.value(QStringLiteral("entity")).toList()),
            StoredValue::toInt32(map.value(QStringLiteral("effect"))));
    replaceRemainder(storedRemainder(map.value(remainderKey()), isTextMsg() ? Text : m_type));
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

void ContentItem::setContent(const im::content::Content &content)
{
    if (!content.has_text()) {
        qCDebug(lcModel, "A text cannot be updated from a content of type %d.",
                int(content.data_case()));
        return;
    }
    const Changes changes(this);
    deserializeText(content.text());
    keepRemainder(content);
}

void ContentItem::updateText(const im::content::Text &record)
{
    setText(Util::fromUtf8(record.text()), entitiesOf(record), record.effect());
}

void ContentItem::deserializeText(const im::content::Text &record)
{
    m_content = Util::fromUtf8(record.text());
    if (hasEntity() || record.textentity_size() > 0)
        ownExtra().textEntity = entitiesOf(record);
    setExtra(&Extra::effect, record.effect());
}

void ContentItem::keepRemainder(const im::content::Content &content)
{
    const bool mayExist = Remainder::mayExist(content);
    if (!hasRemainder() && !mayExist)
        return;
    const Changes changes(this);
    // What is left is looked for beside what the item alone writes.
    ownExtra().remainder = nullptr;
    if (!mayExist)
        return;
    im::content::Content written;
    serialize(&written);
    ownExtra().remainder = Remainder::between(content, written);
}

void ContentItem::replaceRemainder(std::unique_ptr<im::content::Content> remainder)
{
    if (hasRemainder() || remainder)
        ownExtra().remainder = std::move(remainder);
}

QVariantList ContentItem::buttons() const
{
    return Remainder::buttons(extra().remainder.get());
}

// Updates

void ContentItem::setContent(const QString &content, const UserTextBlocks &blocks)
{
    setText(content, blocks, effect());
}

void ContentItem::setText(const QString &content, const UserTextBlocks &blocks, qint32 effect)
{
    const Changes changes(this);
    m_content = content;
    if (setExtra(&Extra::textEntity, blocks))
        Remainder::forgetEntities(ownExtra().remainder);
    setExtra(&Extra::effect, effect);
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
    const Changes changes(this);
    ownExtra().textEntity[index].data = data;
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
    const Changes changes(this);
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

    const Changes changes(this);
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

    setExtra(&Extra::isGame, game);
    setLineCount(lineCount);
    setEmojiCount(qint16(count));
    // A caption of emoji alone does not make a text of its item.
    if (isTextMsg())
        m_type = game ? EmojiGame : largeEmoji && count >= 1 ? LargeEmojiText : Text;
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
    Changes changes(this);
    storeSize({0, 0}, false);
    storeSize({0, 0}, true);
    changes.addResize();
}

void ContentItem::storeSize(QSize size, bool inThread)
{
    const Changes changes(this);
    const qint16 height = saturated(size.height());
    const qint16 width = saturated(size.width());
    if (inThread) {
        setExtra(&Extra::contentHeightInThread, height);
        setExtra(&Extra::contentWidthInThread, width);
    } else {
        m_contentHeight = height;
        m_contentWidth = width;
    }
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
    Changes(this)->setExtra(&Extra::contentHeightInThread, newContentHeightInThread);
}

void ContentItem::setContentWidthInThread(qint16 newContentWidthInThread)
{
    Changes(this)->setExtra(&Extra::contentWidthInThread, newContentWidthInThread);
}

void ContentItem::setType(qint32 type)
{
    Changes(this)->m_type = type;
}

void ContentItem::setEmojiCount(qint16 emojiCount)
{
    // The signal's argument is narrower than the property; a handler that counts reads the
    // property.
    Changes(this)->m_emojiCount = emojiCount;
}

void ContentItem::setLineCount(int lineCount)
{
    Changes(this)->m_lineCount = saturated(lineCount);
}
