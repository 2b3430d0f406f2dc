#include "storage/valuecodec_p.h"

#include "base/undying.h"

#include <QDataStream>
#include <QDateTime>
#include <QHash>
#include <QIODevice>
#include <QLine>
#include <QList>
#include <QMap>
#include <QRect>
#include <QUrl>
#include <QUuid>

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace storage::codec
{
namespace
{

constexpr auto streamVersion = QDataStream::Qt_6_0;
constexpr qsizetype maxBytes = 1'000'000'000; // SQLite's limit for one value

struct PlainType {
    std::string_view name;
    int id;
};
constexpr PlainType plainTypes[] = {
    {"QString", QMetaType::QString},    {"QByteArray", QMetaType::QByteArray},
    {"bool", QMetaType::Bool},          {"int", QMetaType::Int},
    {"qlonglong", QMetaType::LongLong}, {"double", QMetaType::Double},
    {"uint", QMetaType::UInt},          {"qulonglong", QMetaType::ULongLong},
    {"float", QMetaType::Float},
};
constexpr const char *streamedType = "QVariant";

const char *plainName(int id)
{
    for (const PlainType &type : plainTypes) {
        if (type.id == id)
            return type.name.data();
    }
    return nullptr;
}

/// The tag before each value in a BLOB. Lists and maps are walked here and not by QVariant's own
/// operators: those recurse without a limit and reserve as much as the bytes request.
enum class Kind : quint8 { Invalid, Null, Single, List, Map, Hash };

/// A type that values may have, besides lists and maps of any such values.
struct Listed {
    QMetaType type;
    QVariant (*read)(QDataStream &in, QMetaType type); ///< errors go to the stream's status
};

/// Uses the type's own operator. Those of the listed types read a bounded number of bytes, and
/// accept any bits as a value.
QVariant readOne(QDataStream &in, QMetaType type)
{
    QVariant value(type);
    if (!type.load(in, value.data()))
        in.setStatus(QDataStream::ReadCorruptData);
    return value;
}

/// A colour begins with an enumerator, which its operator does not check.
QVariant readColour(QDataStream &in, QMetaType type)
{
    constexpr char lastSpec = 5;
    const QByteArray spec = in.device()->peek(1);
    if (spec.isEmpty() || spec.front() < 0 || spec.front() > lastSpec)
        in.setStatus(QDataStream::ReadCorruptData);
    return readOne(in, type);
}

/// Element by element, here and below: the operators of containers reserve as much as the bytes
/// request.
template <typename T>
QVariant readList(QDataStream &in, QMetaType)
{
    QList<T> list;
    quint32 size = 0;
    in >> size;
    for (quint32 i = 0; i < size && in.status() == QDataStream::Ok; ++i)
        in >> list.emplaceBack();
    return QVariant::fromValue(list);
}

template <typename Map>
QVariant readMap(QDataStream &in, QMetaType)
{
    Map map;
    quint32 size = 0;
    in >> size;
    for (quint32 i = 0; i < size && in.status() == QDataStream::Ok; ++i) {
        QString key;
        in >> key;
        in >> map[key];
    }
    return QVariant::fromValue(map);
}

/// All types that are written and read. A font is not: its operator reads as many families as a
/// damaged number requests, as do those of pens, gradients and regions.
const std::vector<Listed> &listed()
{
    static const auto &all = undying([] {
        std::vector<Listed> types;
        const auto add = [&]<typename... T>(std::type_identity<std::tuple<T...>>) {
            (types.insert(types.end(),
                          {{QMetaType::fromType<T>(), readOne},
                           {QMetaType::fromType<QList<T>>(), readList<T>},
                           {QMetaType::fromType<QMap<QString, T>>(), readMap<QMap<QString, T>>},
                           {QMetaType::fromType<QHash<QString, T>>(), readMap<QHash<QString, T>>}}),
             ...);
        };
        add(std::type_identity<
            std::tuple<bool, short, ushort, int, uint, qint64, quint64, float, double, QChar,
                       QString, QByteArray, QUuid, QUrl, QDate, QTime, QDateTime, QPoint, QPointF,
                       QSize, QSizeF, QRect, QRectF, QLine, QLineF>>());
        for (const auto id : {QMetaType::Char, QMetaType::SChar, QMetaType::UChar, QMetaType::Long,
                              QMetaType::ULong, QMetaType::Char16, QMetaType::Char32})
            types.push_back({QMetaType(id), readOne});
        if (const QMetaType colour(QMetaType::QColor); colour.isValid()) // needs Qt Gui
            types.push_back({colour, readColour});
        return types;
    }());
    return all;
}

const Listed *findListed(QMetaType type)
{
    const auto found = std::find_if(listed().begin(), listed().end(),
                                    [&](const Listed &known) { return known.type == type; });
    return found == listed().end() ? nullptr : &*found;
}

/// One of the types that BLOBs name; no type if it is none of them.
QMetaType typeNamed(const QByteArray &name)
{
    for (const int id : {QMetaType::Nullptr, QMetaType::QVariantList, QMetaType::QVariantMap,
                         QMetaType::QVariantHash}) {
        if (name == QMetaType(id).name())
            return QMetaType(id);
    }
    const auto found = std::find_if(listed().begin(), listed().end(),
                                    [&](const Listed &known) { return name == known.type.name(); });
    return found == listed().end() ? QMetaType() : found->type;
}

/// True when a row can hold the value and its content.
bool isListed(const QVariant &value, int depth)
{
    const auto all = [&](const auto &container) {
        return depth < maxDepth
            && std::all_of(container.cbegin(), container.cend(),
                           [&](const QVariant &element) { return isListed(element, depth + 1); });
    };
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        return true;
    case QMetaType::QVariantList:
        return all(*static_cast<const QVariantList *>(value.constData()));
    case QMetaType::QVariantMap:
        return all(*static_cast<const QVariantMap *>(value.constData()));
    case QMetaType::QVariantHash:
        return all(*static_cast<const QVariantHash *>(value.constData()));
    case QMetaType::Nullptr:
        return true;
    default:
        return findListed(value.metaType());
    }
}

/// For a value that isListed().
void writeStreamed(QDataStream &out, const QVariant &value)
{
    const QMetaType type = value.metaType();
    const auto begin = [&](Kind kind, qsizetype size) { out << quint8(kind) << quint32(size); };
    const auto writePairs = [&](const auto &map) {
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            out << it.key();
            writeStreamed(out, it.value());
        }
    };
    if (!value.isValid()) {
        out << quint8(Kind::Invalid);
    } else if (value.isNull()) {
        out << quint8(Kind::Null) << QByteArray(type.name());
    } else if (type.id() == QMetaType::QVariantList) {
        const auto &list = *static_cast<const QVariantList *>(value.constData());
        begin(Kind::List, list.size());
        for (const QVariant &element : list)
            writeStreamed(out, element);
    } else if (type.id() == QMetaType::QVariantMap) {
        const auto &map = *static_cast<const QVariantMap *>(value.constData());
        begin(Kind::Map, map.size());
        writePairs(map);
    } else if (type.id() == QMetaType::QVariantHash) {
        const auto &hash = *static_cast<const QVariantHash *>(value.constData());
        begin(Kind::Hash, hash.size());
        writePairs(hash);
    } else {
        out << quint8(Kind::Single) << QByteArray(type.name());
        type.save(out, value.constData());
    }
}

/// Errors are reported through the status of the stream, as by its own operators.
QVariant readStreamed(QDataStream &in, int depth)
{
    const auto damaged = [&] {
        in.setStatus(QDataStream::ReadCorruptData);
        return QVariant();
    };
    const auto readPairs = [&](auto pairs) {
        quint32 size = 0;
        in >> size;
        for (quint32 i = 0; i < size && in.status() == QDataStream::Ok; ++i) {
            QString key;
            in >> key;
            pairs.insert(key, readStreamed(in, depth + 1));
        }
        return QVariant(pairs);
    };
    quint8 kind = 0;
    in >> kind;
    if (in.status() != QDataStream::Ok || depth > maxDepth)
        return damaged();
    switch (Kind(kind)) {
    case Kind::Invalid:
        return {};
    case Kind::Null: {
        QByteArray name;
        in >> name;
        const QMetaType type = typeNamed(name);
        return type.isValid() ? QVariant(type) : damaged();
    }
    case Kind::List: {
        QVariantList list;
        quint32 size = 0;
        in >> size;
        for (quint32 i = 0; i < size && in.status() == QDataStream::Ok; ++i)
            list.append(readStreamed(in, depth + 1));
        return list;
    }
    case Kind::Map:
        return readPairs(QVariantMap());
    case Kind::Hash:
        return readPairs(QVariantHash());
    case Kind::Single: {
        QByteArray name;
        in >> name;
        const Listed *known = findListed(typeNamed(name));
        return known ? known->read(in, known->type) : damaged();
    }
    }
    return damaged();
}

QByteArray bytesOf(const SQLite::Column &column)
{
    // SQLite gives no address for an empty value, but an empty byte array is not a null one.
    const void *data = column.getBlob();
    return data ? QByteArray(static_cast<const char *>(data), column.getBytes()) : QByteArray("");
}

void bindBytes(SQLite::Statement &statement, int index, const QByteArray &bytes)
{
    if (bytes.size() > maxBytes)
        throw std::runtime_error("a value is too big");
    statement.bind(index, static_cast<const void *>(bytes.constData()), int(bytes.size()));
}

QByteArray streamed(const QVariant &value)
{
    if (!isListed(value, 0))
        throw std::runtime_error("a value of type " + std::string(value.typeName())
                                 + " cannot be stored");
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(streamVersion);
    writeStreamed(out, value);
    return bytes;
}

std::optional<QVariant> fromStreamed(const QByteArray &bytes)
{
    QDataStream in(bytes);
    in.setVersion(streamVersion);
    const QVariant value = readStreamed(in, 0);
    if (in.status() == QDataStream::Ok && in.atEnd())
        return value;
    return std::nullopt;
}

template <typename T>
std::optional<QVariant> readInteger(const SQLite::Column &column)
{
    if (!column.isInteger() || !std::in_range<T>(column.getInt64()))
        return std::nullopt;
    return QVariant::fromValue(T(column.getInt64()));
}

} // namespace

void bindText(SQLite::Statement &statement, int index, const QString &text)
{
    if (text.size() > maxBytes / 3)
        throw std::runtime_error("a text is too long");
    if (text.isValidUtf16() && !text.startsWith(QChar::ByteOrderMark)) {
        statement.bind(index, text.toStdString());
        return;
    }
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(streamVersion);
    out << text;
    bindBytes(statement, index, bytes);
}

QString readText(const SQLite::Column &column)
{
    if (!column.isBlob()) {
        // The text first: reading it may convert the value and so change its size.
        const char *text = column.getText();
        return QString::fromUtf8(text, column.getBytes());
    }
    QDataStream in(bytesOf(column));
    in.setVersion(streamVersion);
    QString text;
    in >> text;
    return text;
}

void bindValue(SQLite::Statement &statement, int index, const QVariant &value)
{
    const int id = value.typeId();
    const char *type = value.isNull() && value.isValid() ? nullptr : plainName(id);
    const int column = index + 1;
    switch (type ? id : QMetaType::UnknownType) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        statement.bind(column, int64_t(value.toLongLong()));
        break;
    case QMetaType::Float:
    case QMetaType::Double:
        // SQLite takes a NaN for NULL.
        if (std::isnan(value.toDouble()))
            type = nullptr;
        else
            statement.bind(column, value.toDouble());
        break;
    case QMetaType::QString:
        if (const QString text = value.toString(); text.isNull())
            statement.bind(column);
        else
            bindText(statement, column, text);
        break;
    case QMetaType::QByteArray:
        if (const QByteArray bytes = value.toByteArray(); bytes.isNull())
            statement.bind(column);
        else
            bindBytes(statement, column, bytes);
        break;
    default:
        break;
    }
    if (!value.isValid()) {
        type = "";
        statement.bind(column);
    } else if (!type) {
        type = streamedType;
        bindBytes(statement, column, streamed(value));
    }
    statement.bindNoCopy(index, type);
}

bool isStorable(const QVariant &value)
{
    return plainName(value.typeId()) || isListed(value, 0);
}

std::optional<QVariant> readValue(const SQLite::Column &type, const SQLite::Column &value)
{
    const char *typeText = type.getText();
    const std::string_view name(typeText, std::size_t(type.getBytes()));
    if (name.empty())
        return QVariant();
    if (name == streamedType)
        return value.isBlob() ? fromStreamed(bytesOf(value)) : std::nullopt;
    const auto plain = std::find_if(std::begin(plainTypes), std::end(plainTypes),
                                    [&](const PlainType &known) { return known.name == name; });
    if (plain == std::end(plainTypes))
        return std::nullopt;
    switch (plain->id) {
    case QMetaType::QString:
        if (value.isNull())
            return QVariant(QString());
        return value.isText() || value.isBlob() ? std::optional<QVariant>(readText(value))
                                                : std::nullopt;
    case QMetaType::QByteArray:
        if (value.isNull())
            return QVariant(QByteArray());
        return value.isBlob() ? std::optional<QVariant>(bytesOf(value)) : std::nullopt;
    case QMetaType::Bool:
        return value.isInteger() ? std::optional<QVariant>(value.getInt64() != 0) : std::nullopt;
    case QMetaType::Int:
        return readInteger<int>(value);
    case QMetaType::UInt:
        return readInteger<uint>(value);
    case QMetaType::LongLong:
        return readInteger<qint64>(value);
    case QMetaType::ULongLong:
        return value.isInteger() ? std::optional<QVariant>(quint64(value.getInt64()))
                                 : std::nullopt;
    default: // fractions; one set by hand may be stored as a whole number
        if (!value.isFloat() && !value.isInteger())
            return std::nullopt;
        return plain->id == QMetaType::Float ? QVariant(float(value.getDouble()))
                                             : QVariant(value.getDouble());
    }
}

} // namespace storage::codec
