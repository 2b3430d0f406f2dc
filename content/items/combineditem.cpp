#include "content/items/combineditem.h"

#include "account/accountbase.h"
#include "base/storedvalue.h"
#include "base/util.h"
#include "content/contentfactory.h"
#include "content/fields_p.h"
#include "content/items/innercontent_p.h"
#include "content/items/mediabox_p.h"
#include "content/kinds_p.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "settings/appsettingmodel.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr int summaryLines = 3;
/// What a view has room for in a line; more is not measured.
constexpr int summaryLength = 100;

CombinedItem *toCombined(ContentItem *item)
{
    return qobject_cast<CombinedItem *>(item);
}

QSize textSize(const QString &text, int width, bool inThread)
{
    const auto item = QSharedPointer<ContentItem>::create(chatSource, nullptr);
    item->setContent(text, {});
    int lines = 0;
    return text.isEmpty() ? QSize() : Inner::rowSize(item, lines, width, inThread);
}

} // namespace

template <>
struct Fields<CombinedItem> {
    using Base = ContentItem;

    static constexpr std::tuple table{
        derived<&CombinedItem::entries, &CombinedItem::entriesChanged>,
        derived<&CombinedItem::total, &CombinedItem::totalChanged>,
        sizedBy<&CombinedItem::entries>,
    };
};

CombinedItem::CombinedItem(int source, AccountBase *account)
    : ContentItem(source, account), m_account(account)
{
    ItemFields::setType(*this, Combined);
}

CombinedItem::CombinedItem(const im::Message &message, const Opener &open, int source,
                           AccountBase *account)
    : CombinedItem(source, account)
{
    read(message, open);
}

CombinedItem::CombinedItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : ContentItem(map, source, account), m_account(account)
{
    ItemFields::setType(*this, Combined);
    read(map);
}

CombinedItem::CombinedItem(const CombinedItem *other)
    : ContentItem(other), m_account(other->m_account), m_entries(other->m_entries),
      m_total(other->m_total)
{
    for (CombinedEntry &entry : m_entries) {
        auto content = entry.content.toStrongRef();
        if (const CombinedItem *inner = toCombined(content.data()))
            content = QSharedPointer<CombinedItem>::create(inner);
        else if (const auto copied = copyContent(content))
            content = copied;
        hold(entry, content);
    }
}

CombinedItem::~CombinedItem() = default;

// Entries

void CombinedItem::setMessage(const im::Message &message, const Opener &open)
{
    const Changes changes(this);
    read(message, open);
}

void CombinedItem::read(const im::Message &message, const Opener &open)
{
    const Nesting nesting;
    const auto before = clear();
    for (const im::Message &inner : message.combined_messages()) {
        if (!Nesting::take())
            break;
        CombinedEntry entry;
        entry.messageId = inner.message_id();
        entry.time = inner.timestamp();
        entry.isGroup = inner.has_group_sender();
        if (entry.isGroup) {
            const im::GroupSender &sender = inner.group_sender();
            entry.senderId = sender.group_id();
            entry.senderName =
                Util::fromUtf8(sender.send_from_channel() ? sender.channel_name() : sender.title());
        } else {
            entry.senderId = inner.sender();
        }
        hold(entry, makeMessageItem(inner, open, source(), m_account));
        m_entries.append(entry);
    }
    m_total = std::max(message.total_combined_messages(), message.combined_messages_size());
}

/// What there was: the end of an item may run scripts, which are to find this one whole.
QList<QSharedPointer<ContentItem>> CombinedItem::clear()
{
    m_entries.clear();
    return std::exchange(m_contents, {});
}

void CombinedItem::hold(CombinedEntry &entry, const QSharedPointer<ContentItem> &content)
{
    entry.content = content;
    if (content)
        m_contents.append(content);
}

QVariantList CombinedItem::entryVariants() const
{
    return Inner::toVariants(m_entries);
}

QList<QSharedPointer<ContentItem>> CombinedItem::innerItems() const
{
    return m_contents;
}

void CombinedItem::setSenderName(qint64 senderId, bool isGroup, const QString &name)
{
    setSenderNames([&](qint64 id, bool ofGroup) -> std::optional<QString> {
        return id == senderId && ofGroup == isGroup ? std::optional(name) : std::nullopt;
    });
}

bool CombinedItem::setSenderNames(const NameOf &nameOf)
{
    Changes changes(this);
    bool isNew = false;
    for (CombinedEntry &entry : m_entries) {
        const auto name = nameOf(entry.senderId, entry.isGroup);
        if (name && entry.senderName != *name) {
            entry.senderName = *name;
            isNew = true;
        }
    }
    // The summary has the names of those inside. Whoever gives a name may change this item.
    const auto contents = m_contents;
    for (const auto &content : contents) {
        if (CombinedItem *inner = toCombined(content.data()))
            isNew |= inner->setSenderNames(nameOf);
    }
    if (isNew) {
        changes.add(&emitPlain<&CombinedItem::entriesChanged>);
        changes.addResize();
    }
    return isNew;
}

QString CombinedItem::title() const
{
    QStringList names;
    for (const CombinedEntry &entry : m_entries) {
        if (!entry.senderName.isEmpty() && !names.contains(entry.senderName))
            names.append(entry.senderName);
    }
    return names.join(QStringLiteral(", "));
}

QStringList CombinedItem::summary() const
{
    QStringList lines;
    for (const CombinedEntry &entry : m_entries) {
        if (lines.size() == summaryLines)
            break;
        QStringList parts;
        if (!entry.senderName.isEmpty())
            parts.append(entry.senderName);
        ContentItem *content = entry.contentItem();
        if (const CombinedItem *inner = toCombined(content))
            parts.append(inner->title());
        else if (content)
            parts.append(content->getKeyword().left(summaryLength).simplified());
        lines.append(parts.join(QStringLiteral(": ")));
    }
    return lines;
}

// Stored form

void CombinedItem::serialize(QMap<QString, QVariant> &map) const
{
    ContentItem::serialize(map);
    QVariantList entries;
    for (const CombinedEntry &entry : m_entries) {
        QVariantMap stored{{QStringLiteral("messageId"), entry.messageId},
                           {QStringLiteral("senderId"), entry.senderId},
                           {QStringLiteral("isGroup"), entry.isGroup},
                           {QStringLiteral("senderName"), entry.senderName},
                           {QStringLiteral("time"), entry.time}};
        if (const ContentItem *content = entry.contentItem()) {
            QMap<QString, QVariant> item;
            content->serialize(item);
            stored.insert(QStringLiteral("item"), item);
        }
        entries.append(stored);
    }
    map.insert(QStringLiteral("total"), m_total);
    map.insert(QStringLiteral("entries"), entries);
}

void CombinedItem::deserialize(const QMap<QString, QVariant> &map)
{
    const Changes changes(this);
    QMap<QString, QVariant> held;
    serialize(held);
    if (held.value(QStringLiteral("entries")) != map.value(QStringLiteral("entries"))
        || held.value(QStringLiteral("total")) != map.value(QStringLiteral("total")))
        read(map);
    ContentItem::deserialize(map);
}

void CombinedItem::read(const QMap<QString, QVariant> &map)
{
    const Nesting nesting;
    const auto before = clear();
    const QVariantList entries = map.value(QStringLiteral("entries")).toList();
    for (const QVariant &element : entries) {
        if (!Nesting::take())
            break;
        const QVariantMap stored = element.toMap();
        CombinedEntry entry;
        entry.messageId = StoredValue::toInt64(stored.value(QStringLiteral("messageId")));
        entry.senderId = StoredValue::toInt64(stored.value(QStringLiteral("senderId")));
        entry.isGroup = stored.value(QStringLiteral("isGroup")).toBool();
        entry.senderName = stored.value(QStringLiteral("senderName")).toString();
        entry.time = StoredValue::toInt64(stored.value(QStringLiteral("time")));
        if (const auto item = stored.value(QStringLiteral("item")).toMap(); !item.isEmpty())
            hold(entry,
                 restoreContent({{QStringLiteral("content"), QVariantList{item}}}, source(),
                                m_account));
        m_entries.append(entry);
    }
    m_total = std::max(fromStoredCount(map.value(QStringLiteral("total"))), int(entries.size()));
}

void CombinedItem::serialize(im::content::Content *content) const
{
    ImLog::error(lcModel(), QStringLiteral("Combined messages have no body."));
    content->Clear();
}

// Layout

QSize CombinedItem::calcContentSize(int &lineCount, int maxWidth, int, bool inThread)
{
    const int limit = MediaBox::messageWidth(maxWidth, inThread);
    QStringList lines = summary();
    if (const QString names = title().left(summaryLength); !names.isEmpty())
        lines.prepend(names);
    // Lines are elided, not broken.
    QSize size(ContentMetrics::LeastCaptionWidth, ContentMetrics::CombinedFooterHeight);
    for (const QString &line : std::as_const(lines)) {
        const QSize text = textSize(line, 0, inThread);
        size = {std::max(size.width(), text.width()), size.height() + text.height()};
    }
    lineCount = int(lines.size());
    setLineCount(lineCount);
    return {std::min(size.width(), limit), size.height()};
}
