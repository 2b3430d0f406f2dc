#include "storage/valuecodec_p.h"

#include <QAssociativeIterable>
#include <QDataStream>
#include <QIODevice>
#include <QSequentialIterable>
#include <QtEndian>

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string_view>
#include <utility>

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

/// What stands before each value in a BLOB. Lists and maps are walked here and not by QVariant's
/// own operators: those recurse without a limit and reserve what the bytes tell them to.
enum class Kind : quint8 { Invalid, Null, Single, List, Map, Hash };

bool holdsVariants(QMetaType type)
{
    switch (type.id()) {
    case QMetaType::QVariant:
    case QMetaType::QVariantList:
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
    case QMetaType::QVariantPair:
    case QMetaType::QTextFormat:
        return true;
    default:
        return false;
    }
}

bool isSequence(QMetaType type)
{
    if (type.id() == QMetaType::QString || type.id() == QMetaType::QByteArray)
        return false;
    return QMetaType::canConvert(type, QMetaType::fromType<QSequentialIterable>());
}

bool isContainer(QMetaType type)
{
    return isSequence(type)
        || QMetaType::canConvert(type, QMetaType::fromType<QAssociativeIterable>());
}

/// The operators of these trust the bytes too far: a curve has the address of a function; bits may
/// be fewer than none; the families of a font, the dashes of a pen, the stops of a gradient, the parts of a region are as
/// many as a number says, and damage makes that an hour or all memory. Of what is drawn with, only
/// types of one length and those that beginsWithCount() are read.
bool isUnsafe(QMetaType type)
{
    switch (type.id()) {
    case QMetaType::QEasingCurve:
    case QMetaType::QBitArray:
        return true;
    case QMetaType::QColor:
    case QMetaType::QTransform:
    case QMetaType::QMatrix4x4:
    case QMetaType::QVector2D:
    case QMetaType::QVector3D:
    case QMetaType::QVector4D:
    case QMetaType::QQuaternion:
    case QMetaType::QPolygon:
    case QMetaType::QPolygonF:
    case QMetaType::QKeySequence:
        return false;
    default:
        return type.id() >= QMetaType::FirstGuiType && type.id() <= QMetaType::LastGuiType;
    }
}

/// Their operators begin with the number of elements, and reserve that many.
bool beginsWithCount(QMetaType type)
{
    switch (type.id()) {
    case QMetaType::QPolygon:
    case QMetaType::QPolygonF:
    case QMetaType::QKeySequence:
        return true;
    default:
        return isSequence(type);
    }
}

/// May be written and read by the type's own operators: their recursion ends by itself.
bool isSingle(QMetaType type)
{
    if (!type.hasRegisteredDataStreamOperators() || holdsVariants(type) || isUnsafe(type))
        return false;
    const auto flat = [](QMetaType element) {
        return !holdsVariants(element) && !isUnsafe(element) && !isContainer(element);
    };
    if (flat(type))
        return true;
    const QVariant empty(type);
    if (isSequence(type))
        return flat(empty.value<QSequentialIterable>().metaContainer().valueMetaType());
    const QMetaAssociation map = empty.value<QAssociativeIterable>().metaContainer();
    return flat(map.keyMetaType()) && flat(map.mappedMetaType());
}

void writeStreamed(QDataStream &out, const QVariant &value, int depth)
{
    const QMetaType type = value.metaType();
    const auto begin = [&](Kind kind, qsizetype size) {
        if (depth >= maxDepth)
            throw std::runtime_error("a value is nested too deeply");
        out << quint8(kind) << quint32(size);
    };
    const auto writePairs = [&](const auto &map) {
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            out << it.key();
            writeStreamed(out, it.value(), depth + 1);
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
            writeStreamed(out, element, depth + 1);
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
        if (!isSingle(type) || !type.save(out, value.constData()))
            throw std::runtime_error("a value of type " + std::string(type.name())
                                     + " cannot be stored");
    }
}

/// What is found wrong is told through the status of the stream, as its own operators do.
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
        const QMetaType type = QMetaType::fromName(name);
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
        const QMetaType type = QMetaType::fromName(name);
        if (!type.isValid() || !isSingle(type))
            return damaged();
        if (beginsWithCount(type)) {
            const QByteArray count = in.device()->peek(sizeof(quint32));
            if (count.size() < qsizetype(sizeof(quint32))
                || qFromBigEndian<quint32>(count.constData()) > in.device()->bytesAvailable())
                return damaged();
        }
        QVariant value(type);
        return value.isValid() && type.load(in, value.data()) ? value : damaged();
    }
    }
    return damaged();
}

QByteArray bytesOf(const SQLite::Column &column)
{
    // SQLite gives no address for nothing, but an empty byte array is not a null one.
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
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(streamVersion);
    writeStreamed(out, value, 0);
    return bytes;
}

std::optional<QVariant> fromStreamed(const QByteArray &bytes)
{
    QDataStream in(bytes);
    in.setVersion(streamVersion);
    try {
        const QVariant value = readStreamed(in, 0);
        if (in.status() == QDataStream::Ok && in.atEnd())
            return value;
    } catch (const std::exception &) {
        // Out of memory: an operator of some type believed a number in damaged bytes.
    }
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
        // The text first: asking for it may convert the value and so change its size.
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
    if (plainName(value.typeId()))
        return true;
    try {
        streamed(value);
        return true;
    } catch (const std::exception &) {
        return false;
    }
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
    default: // the fractions; one that was set by hand may lie there as a whole number
        if (!value.isFloat() && !value.isInteger())
            return std::nullopt;
        return plain->id == QMetaType::Float ? QVariant(float(value.getDouble()))
                                             : QVariant(value.getDouble());
    }
}

} // namespace storage::codec
