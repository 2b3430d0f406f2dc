#pragma once

#include "account/accountbase.h"
#include "content/contentitem.h"

#include <QPointer>

#include <google/protobuf/repeated_ptr_field.h>

#include <string>
#include <variant>

// Contents inside a content: the question and the options of a poll, the members of a group.

using ItemList = QList<QSharedPointer<ContentItem>>;

/// A stored number that cannot be negative: what is none is 0, what is too large the greatest.
int fromStoredCount(const QVariant &value);

/// Contents hold contents, which hold contents: while one of these lives, deeper ones are counted.
/// Beyond a few levels, and beyond some thousand items below one outermost content, no items are
/// made: bytes from outside decide neither how deep the stack grows nor how much memory is used.
class Nesting
{
public:
    static constexpr int maxDepth = 4;
    static constexpr int maxItems = 2000;

    Nesting();
    ~Nesting();
    Q_DISABLE_COPY_MOVE(Nesting)

    /// Counts one item; false, logged, when there are too many.
    static bool take();
    /// Whether a failure is to be logged: of those below one outermost content only the first is.
    static bool isFirstFailure();
};

/// A content inside another one. What no item can be made of (a kind of a newer protocol, a sticker
/// without an account, one that is nested too deep) is kept as it came.
class InnerContent
{
public:
    /// True when that changed anything.
    bool read(const im::content::Content &record, int source, AccountBase *account);
    bool read(const QVariant &stored, int source, AccountBase *account);
    bool set(const QSharedPointer<ContentItem> &item);
    bool clear();

    /// False when there is no such content at all.
    bool exists() const { return m_value.index() != 0; }
    /// Null when there is none, or none that can be shown.
    QSharedPointer<ContentItem> item() const;
    QString text() const;
    void write(im::content::Content *record) const;
    QVariant stored() const;
    InnerContent copy() const;

private:
    std::variant<std::monostate, QSharedPointer<ContentItem>, std::string, QVariant> m_value;
};

/// A title and options below it, as polls and lotteries have them.
class TitledOptions
{
public:
    using Records = google::protobuf::RepeatedPtrField<im::content::Content>;

    TitledOptions(int source, AccountBase *account);

    /// `titleRecord` may be null. True when that changed anything.
    bool read(const im::content::Content *titleRecord, const Records &records);
    /// From the stored keys "title" and "options".
    bool read(const QMap<QString, QVariant> &map);
    bool setOptions(const ItemList &items);

    void write(QMap<QString, QVariant> &map) const;
    void write(Records *records) const;

    TitledOptions copy() const;
    /// What items there are, the title first.
    ItemList items() const;

    InnerContent title;
    QList<InnerContent> options;

private:
    int m_source;
    QPointer<AccountBase> m_account;
};

namespace Inner
{
/// An item for each of `items`: copies, but for what the factory does not copy.
ItemList copies(const ItemList &items);
/// The size of an item in a row: its text in the theme's font, never large emoji; empty for null.
QSize rowSize(const QSharedPointer<ContentItem> &item, int &lineCount, int maxWidth, bool inThread);

/// Gadgets for QML.
template <typename Value>
QVariantList toVariants(const QList<Value> &values)
{
    QVariantList list;
    list.reserve(values.size());
    for (const Value &value : values)
        list.append(QVariant::fromValue(value));
    return list;
}
} // namespace Inner
