#include "content/items/innercontent_p.h"

#include "base/storedvalue.h"
#include "content/contentfactory.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "protocol/message_content.pb.h"
#include "settings/appsettingmodel.h"

#include <algorithm>
#include <climits>

namespace
{

struct Nested {
    int depth = 0;
    int items = 0;
    bool isReported = false;
};
thread_local Nested nested;

/// The key of a content that is stored as its record.
constexpr auto bodyKey = [] { return QStringLiteral("body"); };
constexpr auto titleKey = [] { return QStringLiteral("title"); };
constexpr auto optionsKey = [] { return QStringLiteral("options"); };

bool parse(const QByteArray &bytes, im::content::Content *record)
{
    return bytes.size() <= INT_MAX && record->ParseFromArray(bytes.constData(), int(bytes.size()));
}

/// Reads `source` into the elements of `parts`; true when that changed anything.
template <typename List, typename Read>
bool readList(QList<InnerContent> &parts, const List &source, Read read)
{
    const auto size = std::min<qsizetype>(source.size(), ContentItem::mostEntities);
    if (size < qsizetype(source.size()) && Nesting::isFirstFailure())
        ImLog::error(lcModel(),
                     QStringLiteral("A content has more than %1 options; the others are dropped.")
                         .arg(ContentItem::mostEntities));
    bool changed = parts.size() != size;
    parts.resize(size);
    for (qsizetype i = 0; i < size; ++i)
        changed |= read(parts[i], source[int(i)]);
    return changed;
}

} // namespace

int fromStoredCount(const QVariant &value)
{
    return std::max(0, StoredValue::toInt32(value));
}

Nesting::Nesting()
{
    if (nested.depth++ == 0)
        nested = {1, 0, false};
}

Nesting::~Nesting()
{
    --nested.depth;
}

bool Nesting::take()
{
    if (nested.depth <= maxDepth && nested.items < maxItems) {
        ++nested.items;
        return true;
    }
    if (isFirstFailure())
        ImLog::error(
            lcModel(),
            QStringLiteral("A content holds too many others, or nested too deep, to show them."));
    return false;
}

bool Nesting::isFirstFailure()
{
    return nested.depth == 0 || !std::exchange(nested.isReported, true);
}

// One content

bool InnerContent::read(const im::content::Content &record, int source, AccountBase *account)
{
    if (exists()) {
        im::content::Content written;
        write(&written);
        if (written.SerializeAsString() == record.SerializeAsString())
            return false;
    }
    if (auto item = Nesting::take() ? deserializeContent(record, source, account) : nullptr)
        m_value = std::move(item);
    else
        m_value = record.SerializeAsString();
    return true;
}

bool InnerContent::read(const QVariant &value, int source, AccountBase *account)
{
    if (exists() && stored() == value)
        return false;
    const QVariantMap map = value.toMap();
    if (const auto body = map.constFind(bodyKey()); body != map.constEnd()) {
        im::content::Content record;
        const auto bytes = StoredValue::readBytes(*body, bodyKey());
        if (bytes && parse(*bytes, &record))
            return read(record, source, account);
    } else if (value.metaType().id() == QMetaType::QString) {
        auto item = QSharedPointer<ContentItem>::create(source, account);
        item->setContent(value.toString(), {});
        m_value = std::move(item);
        return true;
    } else if (!map.isEmpty() && Nesting::take()) {
        const QVariantMap content{{QStringLiteral("content"), QVariantList{map}}};
        if (auto item = makeContentItem(content, source, account)) {
            m_value = std::move(item);
            return true;
        }
    }
    // What is no map at all is no content, but has its place.
    m_value = map.isEmpty() ? QVariant() : value;
    return true;
}

bool InnerContent::set(const QSharedPointer<ContentItem> &newItem)
{
    if (!newItem)
        return clear();
    if (item() == newItem)
        return false;
    m_value = newItem;
    return true;
}

bool InnerContent::clear()
{
    if (!exists())
        return false;
    m_value = {};
    return true;
}

QSharedPointer<ContentItem> InnerContent::item() const
{
    const auto *item = std::get_if<QSharedPointer<ContentItem>>(&m_value);
    return item ? *item : nullptr;
}

QString InnerContent::text() const
{
    const auto shown = item();
    return shown ? shown->content() : QString();
}

void InnerContent::write(im::content::Content *record) const
{
    if (const auto shown = item())
        shown->serialize(record);
    else if (const auto *bytes = std::get_if<std::string>(&m_value))
        record->ParseFromString(*bytes);
    else
        record->Clear();
}

QVariant InnerContent::stored() const
{
    if (const auto shown = item()) {
        QMap<QString, QVariant> map;
        shown->serialize(map);
        return map;
    }
    if (const auto *bytes = std::get_if<std::string>(&m_value))
        return QVariantMap{{bodyKey(), StoredValue::fromBytes(QByteArray::fromStdString(*bytes))}};
    const auto *value = std::get_if<QVariant>(&m_value);
    return value ? *value : QVariant();
}

InnerContent InnerContent::copy() const
{
    InnerContent result = *this;
    // Stickers belong to their provider and are shared.
    if (const auto copied = copyContent(item()))
        result.m_value = copied;
    return result;
}

// Title and options

TitledOptions::TitledOptions(int source, AccountBase *account)
    : m_source(source), m_account(account)
{
}

bool TitledOptions::read(const im::content::Content *titleRecord, const Records &records)
{
    const Nesting nesting;
    const auto readOne = [this](InnerContent &content, const im::content::Content &record) {
        return content.read(record, m_source, m_account);
    };
    const bool titleChanged = titleRecord ? readOne(title, *titleRecord) : title.clear();
    return readList(options, records, readOne) || titleChanged;
}

bool TitledOptions::read(const QMap<QString, QVariant> &map)
{
    const Nesting nesting;
    const auto readOne = [this](InnerContent &content, const QVariant &stored) {
        return content.read(stored, m_source, m_account);
    };
    const auto stored = map.constFind(titleKey());
    const bool hasTitle = stored != map.constEnd()
        && (stored->canConvert<QVariantMap>() || stored->metaType().id() == QMetaType::QString);
    const bool titleChanged = hasTitle ? readOne(title, *stored) : title.clear();
    return readList(options, map.value(optionsKey()).toList(), readOne) || titleChanged;
}

bool TitledOptions::setOptions(const ItemList &items)
{
    return readList(options, items,
                    [](InnerContent &option, const auto &item) { return option.set(item); });
}

void TitledOptions::write(QMap<QString, QVariant> &map) const
{
    if (title.exists())
        map.insert(titleKey(), title.stored());
    QVariantList list;
    list.reserve(options.size());
    for (const InnerContent &option : options)
        list.append(option.stored());
    map.insert(optionsKey(), list);
}

void TitledOptions::write(Records *records) const
{
    records->Clear();
    for (const InnerContent &option : options)
        option.write(records->Add());
}

TitledOptions TitledOptions::copy() const
{
    TitledOptions result = *this;
    result.title = title.copy();
    for (InnerContent &option : result.options)
        option = option.copy();
    return result;
}

ItemList TitledOptions::items() const
{
    ItemList list;
    if (const auto item = title.item())
        list.append(item);
    for (const InnerContent &option : options) {
        if (const auto item = option.item())
            list.append(item);
    }
    return list;
}

ItemList Inner::copies(const ItemList &items)
{
    ItemList list;
    for (const auto &item : items) {
        const auto copied = copyContent(item);
        list.append(copied ? copied : item);
    }
    return list;
}

QSize Inner::rowSize(const QSharedPointer<ContentItem> &item, int &lineCount, int maxWidth,
                     bool inThread)
{
    lineCount = 0;
    if (!item)
        return {};
    if (!item->isTextMsg())
        return item->calcContentSize(lineCount, maxWidth, 0, inThread);
    return item->calcTextSize(lineCount, maxWidth, 0, 0,
                              AppSettingModel::instance()->themeFontSize(), 0, true);
}
