#pragma once

#include "content/contentitem.h"

#include <QSharedPointer>
#include <QVarLengthArray>

#include <functional>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

/// The table of a class of items, to be specialised beside the class (see fields_p.h):
/// - `Base`, the class whose table goes before,
/// - `table`, a tuple of rows; those with value() and notify() are watched while the item changes,
/// - settle(item), optional, updates cached values at the end of a change.
template <typename Item>
struct Fields;

/// A change of one item, which may be made of several: their signals fire when the outermost ends.
/// An item that changes as part of another fires when that one ends, before it. All are kept until
/// then, so that a handler may let go of them.
class Change
{
public:
    using Emit = void (*)(ContentItem &item);

    Q_DISABLE_COPY_MOVE(Change)

    /// Has a signal fire, once.
    void add(Emit changed);
    /// Has needRecalcSize() fire, after all others.
    void addResize() { m_outermost->m_own.needsSize = true; }

protected:
    Change(ContentItem *item, const QMetaObject *watched);
    ~Change() = default;

    /// Whether one that is under way already compares the fields of this class.
    bool isWatched() const { return m_isWatched; }
    /// Ends the change. Fires the signals if no change encloses it.
    void finish();

private:
    struct Signals {
        ContentItem *item;
        QSharedPointer<ContentItem> kept; ///< null while the item is being made
        QVarLengthArray<Emit, 8> emits;
        bool needsSize;

        void fire() const;
    };

    Signals m_own;                      ///< of the outermost
    const QMetaObject *const m_watched; ///< the class whose fields are compared
    Change *const m_enclosing;          ///< of this or another item of the thread
    Change *m_outermost = this;         ///< of this item
    bool m_isWatched = false;
    bool m_isFiring = false;
    std::vector<Signals> m_others; ///< of items that changed meanwhile
};

namespace FieldTable
{

/// The rows of a class and of those that it derives from.
template <typename Item>
constexpr auto rows()
{
    using Base = typename Fields<Item>::Base;
    if constexpr (std::is_void_v<Base>)
        return Fields<Item>::table;
    else
        return std::tuple_cat(rows<Base>(), Fields<Item>::table);
}

template <typename Row>
concept IsWatched = requires(Change &change)
{
    Row::notify(change);
};

template <typename Each, typename Item>
auto valueOf(const Item &item)
{
    if constexpr (IsWatched<Each>)
        return Each::value(item);
    else
        return std::monostate();
}

template <typename Item, typename... Rows>
auto values(const Item &item, const std::tuple<Rows...> &)
{
    return std::make_tuple(valueOf<Rows>(item)...);
}

template <typename Item>
using Values = decltype(values(std::declval<const Item &>(), rows<Item>()));

} // namespace FieldTable

/// While it lives, values of an item may be changed in any way. At its end, when all new values are
/// in place, the signals of those that differ fire, in the order of the tables: a handler never
/// sees half a change. No lock may be held then.
///
/// `Changes(this)->m_title = title;` changes one field.
template <typename Item>
class Changes : public Change
{
public:
    explicit Changes(Item *item) : Change(item, &Item::staticMetaObject), m_changed(item)
    {
        if (!isWatched())
            m_before.emplace(FieldTable::values(*item, FieldTable::rows<Item>()));
    }
    ~Changes()
    {
        if (m_before) {
            settle<Item>();
            compare(FieldTable::rows<Item>());
        }
        finish(); // before the old values go: their end may call back
    }

    Item *operator->() const { return m_changed; }

private:
    template <typename Class>
    void settle()
    {
        if constexpr (requires(Class & item) { Fields<Class>::settle(item); })
            Fields<Class>::settle(*m_changed);
        if constexpr (!std::is_void_v<typename Fields<Class>::Base>)
            settle<typename Fields<Class>::Base>();
    }

    template <typename... Rows>
    void compare(const std::tuple<Rows...> &)
    {
        const auto each = [this]<typename Each>(const Each &, const auto &before) {
            if constexpr (FieldTable::IsWatched<Each>) {
                if (before != Each::value(std::as_const(*m_changed)))
                    Each::notify(*this);
            }
        };
        std::apply([&](const auto &...before) { (each(Rows(), before), ...); }, *m_before);
    }

    Item *const m_changed;
    std::optional<FieldTable::Values<Item>> m_before;
};

/// Emits a change signal that has no argument.
template <auto Signal>
void emitPlain(ContentItem &item)
{
    [&]<typename Item>(void (Item::*signal)()) { (static_cast<Item &>(item).*signal)(); }(Signal);
}

/// Emits a change signal with the value of its property.
template <auto Signal, auto Get>
void emitValue(ContentItem &item)
{
    [&]<typename Item, typename Arg>(void (Item::*signal)(Arg)) {
        auto &sender = static_cast<Item &>(item);
        const auto &value = std::invoke(Get, std::as_const(sender));
        if constexpr (std::is_convertible_v<decltype(value), Arg>)
            (sender.*signal)(Arg(value));
        else
            (sender.*signal)(QVariant::fromValue(value));
    }(Signal);
}

template <typename Item>
constexpr bool isPlain(void (Item::*)())
{
    return true;
}
template <typename Item, typename Arg>
constexpr bool isPlain(void (Item::*)(Arg))
{
    return false;
}

template <auto Signal, auto Get>
constexpr Change::Emit emitterOf()
{
    if constexpr (isPlain(Signal))
        return &emitPlain<Signal>;
    else
        return &emitValue<Signal, Get>;
}

/// What a row does not do.
struct Row {
    static void copy(auto &, const auto &) { }
    static void read(auto &, const QMap<QString, QVariant> &) { }
    static void write(const auto &, QMap<QString, QVariant> &) { }
    static void readRecord(auto &, const auto &) { }
    static void writeRecord(const auto &, auto *) { }
};

/// A row for a value that follows from others.
template <auto Get, auto Signal>
struct Derived : Row {
    static auto value(const auto &item) { return std::invoke(Get, item); }
    static void notify(Change &change) { change.add(emitterOf<Signal, Get>()); }
};
template <auto Get, auto Signal>
inline constexpr Derived<Get, Signal> derived{};

/// A row for what the size of an item follows from, other than its text.
template <auto Get>
struct SizedBy : Row {
    static auto value(const auto &item) { return std::invoke(Get, item); }
    static void notify(Change &change) { change.addResize(); }
};
template <auto Get>
inline constexpr SizedBy<Get> sizedBy{};

/// Where the blocks of a text are. Hidden ranges end where the text does.
struct TextRanges {
    QString text;
    UserTextBlocks blocks;

    bool operator==(const TextRanges &other) const;
};

/// A text whose blocks alone have changed is measured anew. For a new text contentChanged() fires.
struct TextShape {
    QString text;
    UserTextBlocks blocks;

    bool operator==(const TextShape &other) const
    {
        return text != other.text || blocks == other.blocks;
    }
};

template <>
struct Fields<ContentItem> {
    using Base = void;

    template <typename Text>
    static Text textOf(const ContentItem &item)
    {
        return {item.content(), item.textEntity()};
    }

    static constexpr std::tuple table{
        derived<&ContentItem::textEntity, &ContentItem::textEntityChanged>,
        derived<&textOf<TextRanges>, &ContentItem::spoilersChanged>,
        derived<&ContentItem::content, &ContentItem::contentChanged>,
        derived<&ContentItem::effect, &ContentItem::effectChanged>,
        derived<&ContentItem::buttons, &ContentItem::buttonsChanged>,
        derived<&ContentItem::isGame, &ContentItem::isGameChanged>,
        derived<&ContentItem::lineCount, &ContentItem::lineCountChanged>,
        derived<&ContentItem::emojiCount, &ContentItem::emojiCountChanged>,
        derived<&ContentItem::type, &ContentItem::typeChanged>,
        derived<&ContentItem::contentHeight, &ContentItem::contentHeightChanged>,
        derived<&ContentItem::contentWidth, &ContentItem::contentWidthChanged>,
        derived<&ContentItem::contentHeightInThread, &ContentItem::contentHeightInThreadChanged>,
        derived<&ContentItem::contentWidthInThread, &ContentItem::contentWidthInThreadChanged>,
        sizedBy<&textOf<TextShape>>,
    };
};
