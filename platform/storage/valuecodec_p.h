#pragma once

#include <QString>
#include <QVariant>

#include <optional>

namespace SQLite
{
class Column;
class Statement;
} // namespace SQLite

/// How texts and values are stored in columns.
///
/// A text is TEXT in UTF-8. A text that does not survive UTF-8 (with a lone surrogate, or a byte
/// order mark at the start) is a BLOB: the QDataStream form of the QString.
///
/// A value takes two columns. Whole numbers, fractions, texts and byte arrays are stored plainly,
/// under the name of their meta-type, readable by any SQL tool. Everything else is a BLOB of type
/// "QVariant". An invalid value is NULL with an empty type, a null text or byte array NULL with its
/// own.
namespace storage::codec
{

void bindText(SQLite::Statement &statement, int index, const QString &text);
QString readText(const SQLite::Column &column);

/// Binds the type at `index` and the value at `index` + 1. Throws std::runtime_error for a value
/// that is not isStorable(), or larger than SQLite accepts.
void bindValue(SQLite::Statement &statement, int index, const QVariant &value);
/// The values allowed; see RowStorage::isStorable(). Nothing else is written or read.
bool isStorable(const QVariant &value);
/// Nothing if the type is not one of those, or the bytes are damaged.
std::optional<QVariant> readValue(const SQLite::Column &type, const SQLite::Column &value);

/// Maximum nesting of lists and maps, for writing and reading.
constexpr int maxDepth = 100;

} // namespace storage::codec
