// The two columns of a stored value: any type name and any value are read or refused, and what was
// read can be stored and comes back.

#include "storage/valuecodec_p.h"
#include "support/fuzzing.h"

#include <fuzzer/FuzzedDataProvider.h>
#include <SQLiteCpp/SQLiteCpp.h>

using fuzzing::check;

namespace
{

constexpr std::string_view types[] = {"QVariant", "",      "QString",    "QByteArray",
                                      "bool",     "int",   "qlonglong",  "double",
                                      "uint",     "float", "qulonglong", "QStringList"};

/// A row that holds what was bound to it.
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
    std::string bytes()
    {
        return m_row.getColumn(0).getString() + ':' + m_row.getColumn(1).getString();
    }

private:
    SQLite::Database m_database;
    SQLite::Statement m_row;
};

} // namespace

void fuzzOne(QByteArrayView input)
{
    FuzzedDataProvider data(reinterpret_cast<const uint8_t *>(input.data()), size_t(input.size()));
    static Row row;
    SQLite::Statement &columns = row.cleared();
    columns.bind(1, std::string(data.PickValueInArray(types)));
    switch (data.ConsumeIntegralInRange<int>(0, 8)) {
    case 0:
        columns.bind(2, data.ConsumeIntegral<int64_t>());
        break;
    case 1:
        columns.bind(2, data.ConsumeFloatingPoint<double>());
        break;
    case 2:
        columns.bind(2, data.ConsumeRemainingBytesAsString());
        break;
    case 3:
        break;
    default:
        const std::string bytes = data.ConsumeRemainingBytesAsString();
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
    // For a date and time that cannot be, Qt has no single form.
    const bool hasDateTime = bytes.find("QDateTime") != std::string::npos;
    check(hasDateTime || row.bytes() == bytes, "what was stored comes back");
}
