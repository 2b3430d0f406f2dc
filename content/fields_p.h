#pragma once

#include "base/storedvalue.h"
#include "base/util.h"
#include "content/changes_p.h"
#include "core/logs_p.h"
#include "protocol/message_content.pb.h"

// A field of a kind of content stands once, as a row of the kind's table Fields<Kind>::table: the
// member, the key of the stored map, the getter and setter of the protocol's record, the change
// signal. Both forms, copies, updates and setters follow from it.

using StoredMap = QMap<QString, QVariant>;

/// The key of a stored value.
#define KEY(text) [] { return QStringLiteral(text); }

/// A form that a field does not have.
struct None {
};
inline constexpr None none;

template <auto Part>
constexpr bool isNone = std::is_same_v<std::remove_cvref_t<decltype(Part)>, None>;

/// When a value is stored.
enum class Written { Always, UnlessEmpty };

template <typename Value>
Value fromStored(const QVariant &value, const QString &key)
{
    if constexpr (std::is_same_v<Value, QString>)
        return value.toString();
    else if constexpr (std::is_same_v<Value, QByteArray>)
        return StoredValue::toBytes(value, key);
    else if constexpr (std::is_same_v<Value, qint32>)
        return StoredValue::toInt32(value);
    else if constexpr (std::is_same_v<Value, qint64>)
        return StoredValue::toInt64(value);
    else
        return value.value<Value>();
}

template <typename Value>
QVariant toStored(const Value &value)
{
    if constexpr (std::is_same_v<Value, QByteArray>)
        return StoredValue::fromBytes(value);
    else
        return value;
}

template <typename Value, typename Sent>
Value fromRecord(const Sent &value)
{
    if constexpr (std::is_same_v<Value, QString>)
        return Util::fromUtf8(value);
    else if constexpr (std::is_same_v<Value, QByteArray>)
        return QByteArray(value.data(), qsizetype(value.size()));
    else
        return Value(value);
}

/// Writes by the setter of a number, or by the accessor of a mutable text or of mutable bytes.
template <auto Put, typename Body, typename Value>
void toRecord(Body *body, const Value &value)
{
    if constexpr (std::is_same_v<Value, QString>) {
        *std::invoke(Put, body) = value.toStdString();
    } else if constexpr (std::is_same_v<Value, QByteArray>) {
        std::invoke(Put, body)->assign(value.constData(), std::size_t(value.size()));
    } else {
        [&]<typename Sent>(void (Body::*put)(Sent)) { (body->*put)(Sent(value)); }(Put);
    }
}

/// What rows of members have in common.
template <auto Member, auto Signal>
struct Held : Row {
    static const auto &value(const auto &item) { return item.*Member; }
    static void notify(Change &change) { change.add(emitterOf<Signal, Member>()); }
    static void copy(auto &item, const auto &other) { item.*Member = other.*Member; }
};
template <auto Member>
struct Held<Member, none> : Row {
};

/// A row for a field that a member holds.
template <auto Member, auto Key, auto Get, auto Put, auto Signal, Written written>
struct Field : Held<Member, Signal> {
    static void read(auto &item, const StoredMap &map)
    {
        if constexpr (!isNone<Key>)
            item.*Member = fromStored<Value<decltype(item)>>(map.value(Key()), Key());
    }
    static void write(const auto &item, StoredMap &map)
    {
        if constexpr (!isNone<Key>) {
            if (written == Written::Always || item.*Member != Value<decltype(item)>())
                map.insert(Key(), toStored(item.*Member));
        }
    }
    static void readRecord(auto &item, const auto &body)
    {
        if constexpr (!isNone<Get>)
            item.*Member = fromRecord<Value<decltype(item)>>(std::invoke(Get, body));
    }
    static void writeRecord(const auto &item, auto *body)
    {
        if constexpr (!isNone<Put>)
            toRecord<Put>(body, item.*Member);
    }

private:
    template <typename Item>
    using Value = std::remove_cvref_t<decltype(std::declval<Item>().*Member)>;
};

template <auto Member, auto Key, auto Get, auto Put, auto Signal, Written written = Written::Always>
inline constexpr Field<Member, Key, Get, Put, Signal, written> field{};
/// One that is not in the record.
template <auto Member, auto Key, auto Signal, Written written = Written::Always>
inline constexpr Field<Member, Key, none, none, Signal, written> storedField{};

template <auto Member, auto Has, auto Get, auto Mutable, auto Signal>
struct PartField;
/// A part of the record that a member holds, by a table of its own. It is written unless it is
/// empty, or was sent empty.
template <auto Member, auto Has, auto Get, auto Mutable, auto Signal>
inline constexpr PartField<Member, Has, Get, Mutable, Signal> partField{};

/// What the table of a kind with a body begins with: the base class and the record.
template <typename BaseItem, auto Has, auto Get, auto Mutable>
struct KindOf {
    using Base = BaseItem;

    static bool isIn(const im::content::Content &content) { return std::invoke(Has, content); }
    static const auto &bodyOf(const im::content::Content &content)
    {
        return std::invoke(Get, content);
    }
    static auto *bodyOf(im::content::Content *content) { return std::invoke(Mutable, content); }
};

/// What the members of all kinds do by their tables.
class ItemFields
{
public:
    /// Of a new item, to which nobody is connected.
    static void setType(ContentItem &item, ContentItem::Type type) { item.m_type = type; }

    /// From the stored form, the fields of this class alone.
    template <typename Item>
    static void read(Item &item, const StoredMap &map)
    {
        forEachRow<Item>([&](auto row) { row.read(item, map); });
    }

    template <typename Item>
    static void write(const Item &item, StoredMap &map)
    {
        forEachRow<Item>([&](auto row) { row.write(item, map); });
    }

    template <typename Item>
    static void copy(Item &item, const Item &other)
    {
        forEachRow<Item>([&](auto row) { row.copy(item, other); });
    }

    /// From the record, with the caption. One of another kind is passed over.
    template <typename Item>
    static void readRecord(Item &item, const im::content::Content &content)
    {
        if constexpr (requires { Fields<Item>::isIn(content); }) {
            if (!Fields<Item>::isIn(content))
                return;
            const auto &body = Fields<Item>::bodyOf(content);
            readParts(item, body);
            if constexpr (requires { body.caption(); }) {
                if (body.has_caption() || hasText(item))
                    item.deserializeText(body.caption());
            }
        }
    }

    template <typename Item>
    static void writeRecord(const Item &item, im::content::Content *content)
    {
        static_cast<const ContentItem &>(item).startRecord(content);
        auto *body = Fields<Item>::bodyOf(content);
        writeParts(item, body);
        if constexpr (requires { body->caption(); })
            static_cast<const ContentItem &>(item).writeCaption(body);
    }

    template <typename Item, typename Body>
    static void readParts(Item &item, const Body &body)
    {
        forEachRow<Item>([&](auto row) { row.readRecord(item, body); });
    }

    template <typename Item, typename Body>
    static void writeParts(const Item &item, Body *body)
    {
        forEachRow<Item>([&](auto row) { row.writeRecord(item, body); });
    }

    /// An update from the record. One of another kind changes nothing.
    template <typename Item>
    static void update(Item &item, const im::content::Content &content)
    {
        if (!isOwn(item, content))
            return;
        const Changes changes(&item);
        readRecord(item, content);
        item.keepRemainder(content);
    }

    /// Whether the record is one of the item's kind; if not, a log line.
    template <typename Item>
    static bool isOwn(const Item &item, const im::content::Content &content)
    {
        if (Fields<Item>::isIn(content))
            return true;
        qCDebug(lcModel, "A content of type %d cannot update an item of class %s.",
                int(content.data_case()), item.metaObject()->className());
        return false;
    }

private:
    static bool hasText(const ContentItem &item)
    {
        return item.m_extra || !item.m_content.isEmpty();
    }

    template <typename Item, typename Visit>
    static void forEachRow(Visit visit)
    {
        std::apply([&](const auto &...row) { (visit(row), ...); }, Fields<Item>::table);
    }
};

template <auto Member, auto Has, auto Get, auto Mutable, auto Signal>
struct PartField : Held<Member, Signal> {
    static void read(auto &item, const StoredMap &map) { ItemFields::read(item.*Member, map); }
    static void write(const auto &item, StoredMap &map) { ItemFields::write(item.*Member, map); }
    static void readRecord(auto &item, const auto &body)
    {
        ItemFields::readParts(item.*Member, std::invoke(Get, body));
    }
    static void writeRecord(const auto &item, auto *body)
    {
        using Part = std::remove_cvref_t<decltype(item.*Member)>;
        if (item.*Member != Part() || std::invoke(Has, *body))
            ItemFields::writeParts(item.*Member, std::invoke(Mutable, body));
    }
};

/// The constructors of a kind. What is given behind the type is done by the copying one as well.
#define CONSTRUCT_BY_FIELDS(Item, Base, itemType, ...)                                             \
    Item::Item(int source, AccountBase *account) : Base(source, account)                           \
    {                                                                                              \
        ItemFields::setType(*this, itemType);                                                      \
    }                                                                                              \
    Item::Item(const StoredMap &map, int source, AccountBase *account)                             \
        : Base(map, source, account)                                                               \
    {                                                                                              \
        ItemFields::setType(*this, itemType);                                                      \
        ItemFields::read(*this, map);                                                              \
    }                                                                                              \
    Item::Item(const im::content::Content &content, int source, AccountBase *account)              \
        : Base(content, source, account)                                                           \
    {                                                                                              \
        ItemFields::setType(*this, itemType);                                                      \
        ItemFields::readRecord(*this, content);                                                    \
    }                                                                                              \
    Item::Item(const Item *other) : Base(other)                                                    \
    {                                                                                              \
        ItemFields::copy(*this, *other);                                                           \
        __VA_ARGS__;                                                                               \
    }

/// Reading, writing and updating by the table, in both forms.
#define STORE_BY_FIELDS(Item, Base)                                                                \
    void Item::serialize(StoredMap &map) const                                                     \
    {                                                                                              \
        Base::serialize(map);                                                                      \
        ItemFields::write(*this, map);                                                             \
    }                                                                                              \
    void Item::deserialize(const StoredMap &map)                                                   \
    {                                                                                              \
        const Changes changes(this);                                                               \
        ItemFields::read(*this, map);                                                              \
        Base::deserialize(map);                                                                    \
    }
#define SEND_BY_FIELDS(Item)                                                                       \
    void Item::serialize(im::content::Content *content) const                                      \
    {                                                                                              \
        ItemFields::writeRecord(*this, content);                                                   \
    }                                                                                              \
    void Item::setContent(const im::content::Content &content)                                     \
    {                                                                                              \
        ItemFields::update(*this, content);                                                        \
    }

/// A kind all of whose functions follow from its table.
#define CONTENT_KIND(Item, Base, itemType)                                                         \
    CONSTRUCT_BY_FIELDS(Item, Base, itemType)                                                      \
    STORE_BY_FIELDS(Item, Base)                                                                    \
    SEND_BY_FIELDS(Item)

#define SET_BY_FIELD(Item, setter, Value, member)                                                  \
    void Item::setter(Value value)                                                                 \
    {                                                                                              \
        if (member != value)                                                                       \
            Changes(this)->member = value;                                                         \
    }
