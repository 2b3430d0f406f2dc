// The two columns of a stored value: any type name and any value are read or refused, and a value
// that was read can be stored and read again.

#include "storage/valuecodec_p.h"
#include "support/fuzzing.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <bit>

using fuzzing::check;

namespace
{

constexpr std::string_view types[] = {"QVariant", "",      "QString",    "QByteArray",
                                      "bool",     "int",   "qlonglong",  "double",
                                      "uint",     "float", "qulonglong", "QStringList"};

/// A row that holds the bound values.
class Row
{
public:
    Row() : m_database(":memory:", SQLite::OPEN_READWRITE), m_row(m_database, "SELECT ?1, ?2") { }

    SQLite::Statement &cleared()
    {
        m_row.reset();
        m_row.clearBindings();
        return m_row;
    }
    std::optional<QVariant> value()
    {
        m_row.executeStep();
        return storage::codec::readValue(m_row.getColumn(0), m_row.getColumn(1));
    }
    std::optional<QVariant> value(QByteArrayView bytes)
    {
        cleared().bind(1, "QVariant");
        m_row.bind(2, static_cast<const void *>(bytes.data()), int(bytes.size()));
        return value();
    }
    std::string bytes()
    {
        return m_row.getColumn(0).getString() + ':' + m_row.getColumn(1).getString();
    }

private:
    SQLite::Database m_database;
    SQLite::Statement m_row;
};

/// If everything is in one column, its bytes are exactly the value's.
void checkWhole(Row &row, const QByteArray &bytes)
{
    if (bytes.isEmpty() || !row.value(bytes))
        return;
    check(!row.value(bytes.chopped(1)), "a value that is cut is refused");
    check(!row.value(bytes + 'x'), "so is what goes on behind its end");
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    fuzzing::Pieces data(input);
    static Row row;
    checkWhole(row, input.sliced(std::min<qsizetype>(2, input.size())).toByteArray());
    SQLite::Statement &columns = row.cleared();
    columns.bind(1, std::string(types[data.number(0, int(std::size(types)) - 1)]));
    switch (data.number(0, 8)) {
    case 0:
        columns.bind(2, int64_t(data.bits()));
        break;
    case 1:
        columns.bind(2, std::bit_cast<double>(data.bits()));
        break;
    case 2:
        columns.bind(2, data.rest().toByteArray().toStdString());
        break;
    case 3:
        break;
    default:
        const QByteArrayView bytes = data.rest();
        columns.bind(2, static_cast<const void *>(bytes.data()), int(bytes.size()));
        break;
    }

    const std::optional<QVariant> value = row.value();
    if (!value)
        return;
    check(storage::codec::isStorable(*value), "what was read can be stored");
    storage::codec::bindValue(row.cleared(), 1, *value);
    const std::optional<QVariant> again = row.value();
    const std::string bytes = row.bytes();
    check(again && again->metaType() == value->metaType(), "what was stored keeps its type");
    storage::codec::bindValue(row.cleared(), 1, *again);
    row.value();
    // Qt has no unique form for an invalid date and time.
    const bool hasDateTime = bytes.find("QDateTime") != std::string::npos;
    check(hasDateTime || row.bytes() == bytes, "what was stored comes back");
}
