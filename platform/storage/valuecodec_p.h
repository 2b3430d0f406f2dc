#pragma once

#include <QString>
#include <QVariant>

#include <optional>

namespace SQLite
{
class Column;
class Statement;
} // namespace SQLite

/// How texts and values lie in columns.
///
/// A text is TEXT in UTF-8. What UTF-8 cannot carry and bring back (a lone surrogate, a byte order
/// mark at the start) is a BLOB: the QDataStream form of the QString.
///
/// A value fills two columns. Whole numbers, fractions, texts and byte arrays lie there plainly,
/// under the name of their meta-type, for everyone with an SQL tool. Everything else is a BLOB of
/// type "QVariant". An invalid value is NULL under an empty type, a null text or byte array NULL
/// under its own.
namespace storage::codec
{

void bindText(SQLite::Statement &statement, int index, const QString &text);
QString readText(const SQLite::Column &column);

/// Binds the type at `index` and the value at `index` + 1. Throws std::runtime_error for what is not
/// isStorable(), or bigger than SQLite takes.
void bindValue(SQLite::Statement &statement, int index, const QVariant &value);
/// What a value may be; see RowStorage::isStorable(). Nothing else is written or read.
bool isStorable(const QVariant &value);
/// Nothing when the type is none of those, or the bytes are damaged.
std::optional<QVariant> readValue(const SQLite::Column &type, const SQLite::Column &value);

/// Lists and maps nested deeper than this are neither written nor read.
constexpr int maxDepth = 100;

} // namespace storage::codec
