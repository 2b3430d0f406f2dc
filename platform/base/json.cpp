#include "base/json.h"

#include "base/undying.h"
#include "base/util.h"
#include "imlog/imlog.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#define SIMDJSON_EXCEPTIONS 0
#include <simdjson.h>

#include <charconv>
#include <cmath>

namespace
{

Q_LOGGING_CATEGORY(log, "im.base")

namespace dom = simdjson::dom;

/// Maximum nesting of maps and lists, the same as QJsonDocument's.
constexpr int maximumDepth = 1024;
/// A parser keeps about 14 bytes for each byte of the longest text it has read.
constexpr qsizetype longestForKeptParser = 64 * 1024;

bool isWhole64Bit(double number)
{
    constexpr double limit = 9223372036854775808.0; // 2^63
    return number >= -limit && number < limit && std::trunc(number) == number;
}

// Reading. The parser limits the depth of its result, and so the recursion here.

QVariant toVariant(const dom::element &element);

QString toString(std::string_view text)
{
    return Util::fromUtf8(QByteArrayView(text.data(), qsizetype(text.size())));
}

QVariantMap toContainer(const dom::object &object)
{
    QVariantMap map;
    // Stored maps are sorted, so the next key usually belongs at the end.
    for (const auto &[key, value] : object)
        map.insert(map.cend(), toString(key), toVariant(value));
    return map;
}

QVariantList toContainer(const dom::array &array)
{
    QVariantList list;
    list.reserve(qsizetype(array.size()));
    for (const dom::element element : array)
        list.append(toVariant(element));
    return list;
}

QVariant toVariant(const dom::element &element)
{
    switch (element.type()) {
    case dom::element_type::OBJECT:
        return toContainer(element.get_object().value_unsafe());
    case dom::element_type::ARRAY:
        return toContainer(element.get_array().value_unsafe());
    case dom::element_type::STRING:
        return toString(element.get_string().value_unsafe());
    case dom::element_type::INT64:
        return qlonglong(element.get_int64().value_unsafe());
    case dom::element_type::UINT64: // only values beyond INT64
        return double(element.get_uint64().value_unsafe());
    case dom::element_type::DOUBLE: {
        const double number = element.get_double().value_unsafe();
        return isWhole64Bit(number) ? QVariant(qlonglong(number)) : QVariant(number);
    }
    case dom::element_type::BOOL:
        return element.get_bool().value_unsafe();
    case dom::element_type::NULL_VALUE:
        break;
    }
    return QVariant::fromValue(nullptr);
}

/// True when the parser could read `json`; `container` then receives its content.
template <typename Source, typename Container>
bool parse(dom::parser &parser, const QByteArray &json, Container *container)
{
    dom::element root;
    Source source;
    if (parser.parse(json.constData(), size_t(json.size())).get(root) || root.get(source))
        return false;
    *container = toContainer(source);
    return true;
}

template <typename Source, typename Container>
bool parse(const QByteArray &json, Container *container)
{
    auto *const kept = json.size() <= longestForKeptParser ? keptByThread<dom::parser>() : nullptr;
    if (kept)
        return parse<Source>(*kept, json, container);
    dom::parser parser;
    return parse<Source>(parser, json, container);
}

template <typename Source, typename Container>
Container read(const QByteArray &json)
{
    Container container;
    if (json.isEmpty() || parse<Source>(json, &container))
        return container;

    // QJsonDocument is more lenient, above all with half surrogate pairs, which it also writes.
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if constexpr (std::is_same_v<Container, QVariantMap>) {
        if (document.isObject())
            return document.object().toVariantMap();
    } else {
        if (document.isArray())
            return document.array().toVariantList();
    }
    ImLog::error(log(),
                 QStringLiteral("Unreadable JSON of %1 bytes: %2")
                     .arg(json.size())
                     .arg(document.isNull() ? error.errorString()
                                            : QStringLiteral("wrong kind at the top")));
    return container;
}

/// Writes the same bytes as QJsonDocument, directly from the variants.
class Writer
{
public:
    template <typename Map>
    void map(const Map &map)
    {
        nested('{', '}', [&] {
            for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
                if (it != map.constBegin())
                    m_json += ',';
                string(it.key());
                m_json += ':';
                value(it.value());
            }
        });
    }

    template <typename List>
    void list(const List &list)
    {
        nested('[', ']', [&] {
            for (auto it = list.constBegin(); it != list.constEnd(); ++it) {
                if (it != list.constBegin())
                    m_json += ',';
                value(*it);
            }
        });
    }

    QByteArray take()
    {
        if (!m_tooDeep)
            return std::move(m_json);
        ImLog::error(
            log(),
            QStringLiteral("Not written as JSON: nested deeper than %1 levels").arg(maximumDepth));
        return {};
    }

private:
    template <typename Content>
    void nested(char open, char close, Content content)
    {
        if (m_depth == maximumDepth) {
            m_tooDeep = true;
            return;
        }
        ++m_depth;
        m_json += open;
        content();
        m_json += close;
        --m_depth;
    }

    void value(const QVariant &variant)
    {
        switch (variant.typeId()) {
        case QMetaType::QVariantMap:
            return map(*static_cast<const QVariantMap *>(variant.constData()));
        case QMetaType::QVariantList:
            return list(*static_cast<const QVariantList *>(variant.constData()));
        case QMetaType::QVariantHash: {
            QVariantMap sorted;
            const auto &hash = *static_cast<const QVariantHash *>(variant.constData());
            for (auto it = hash.constBegin(); it != hash.constEnd(); ++it)
                sorted.insert(it.key(), it.value());
            return map(sorted);
        }
        case QMetaType::QString:
            return string(*static_cast<const QString *>(variant.constData()));
        case QMetaType::Bool:
            return boolean(variant.toBool());
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
            return integer(variant.toLongLong());
        default:
            return value(QJsonValue::fromVariant(variant));
        }
    }

    void value(const QJsonValue &json)
    {
        switch (json.type()) {
        case QJsonValue::Object:
            return map(json.toObject());
        case QJsonValue::Array:
            return list(json.toArray());
        case QJsonValue::String:
            return string(json.toString());
        case QJsonValue::Bool:
            return boolean(json.toBool());
        case QJsonValue::Double:
            // Qt keeps doubles without a fraction as integers, if they are exact.
            if (json.toVariant().typeId() == QMetaType::LongLong)
                return integer(json.toInteger());
            return number(json.toDouble());
        case QJsonValue::Null:
        case QJsonValue::Undefined:
            m_json += "null";
        }
    }

    void value(const QJsonValueConstRef &reference) { value(QJsonValue(reference)); }

    void boolean(bool value) { m_json += value ? "true" : "false"; }

    void integer(qint64 value)
    {
        char digits[20];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        m_json.append(digits, end - digits);
    }

    void number(double value)
    {
        if (std::isfinite(value))
            m_json += QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
        else
            m_json += "null";
    }

    void string(QStringView text)
    {
        char chunk[512];
        constexpr qsizetype longestUnit = 6;
        char *out = chunk;
        m_json += '"';
        qsizetype i = 0;
        if (text.startsWith(QChar(QChar::ByteOrderMark))) // Qt would drop it when reading
            out = escape(out, text[i++].unicode());
        for (; i < text.size(); ++i) {
            if (out > chunk + sizeof chunk - longestUnit) {
                m_json.append(chunk, out - chunk);
                out = chunk;
            }
            const char16_t unit = text[i].unicode();
            if (unit < 0x80) {
                if (unit >= 0x20 && unit != '"' && unit != '\\')
                    *out++ = char(unit);
                else
                    out = escape(out, unit);
            } else if (unit < 0x800) {
                *out++ = char(0xc0 | unit >> 6);
                *out++ = char(0x80 | (unit & 0x3f));
            } else if (!QChar::isSurrogate(unit)) {
                *out++ = char(0xe0 | unit >> 12);
                *out++ = char(0x80 | (unit >> 6 & 0x3f));
                *out++ = char(0x80 | (unit & 0x3f));
            } else if (QChar::isHighSurrogate(unit) && i + 1 < text.size()
                       && text[i + 1].isLowSurrogate()) {
                const char32_t point = QChar::surrogateToUcs4(unit, text[++i].unicode());
                *out++ = char(0xf0 | point >> 18);
                *out++ = char(0x80 | (point >> 12 & 0x3f));
                *out++ = char(0x80 | (point >> 6 & 0x3f));
                *out++ = char(0x80 | (point & 0x3f));
            } else {
                out = escape(out, unit); // half a pair: UTF-8 has no form for it
            }
        }
        m_json.append(chunk, out - chunk);
        m_json += '"';
    }

    static char *escape(char *out, char16_t unit)
    {
        *out++ = '\\';
        switch (unit) {
        case '"':
        case '\\':
            *out++ = char(unit);
            return out;
        case '\b':
            *out++ = 'b';
            return out;
        case '\f':
            *out++ = 'f';
            return out;
        case '\n':
            *out++ = 'n';
            return out;
        case '\r':
            *out++ = 'r';
            return out;
        case '\t':
            *out++ = 't';
            return out;
        }
        *out++ = 'u';
        for (int shift = 12; shift >= 0; shift -= 4)
            *out++ = "0123456789abcdef"[unit >> shift & 0xf];
        return out;
    }

    QByteArray m_json;
    int m_depth = 0;
    bool m_tooDeep = false;
};

/// Where the first `most` elements of a list end; -1 when the list has no more.
qsizetype endOfElements(QByteArrayView json, qsizetype most)
{
    if (json.size() <= 2 * most) // each element has a character and a comma
        return -1;
    int depth = 0;
    bool isText = false;
    for (qsizetype at = 0; at < json.size(); ++at) {
        const char c = json[at];
        if (isText) {
            at += qsizetype(c == '\\');
            isText = c != '"';
        } else if (c == '"') {
            isText = true;
        } else if (c == '[' || c == '{') {
            ++depth;
        } else if (c == ']' || c == '}') {
            --depth;
        } else if (c == ',' && depth == 1 && --most <= 0) {
            return at;
        }
    }
    return -1;
}

} // namespace

QByteArray mapToJson(const QVariantMap &map)
{
    Writer writer;
    writer.map(map);
    return writer.take();
}

QByteArray listToJson(const QVariantList &list)
{
    Writer writer;
    writer.list(list);
    return writer.take();
}

QVariantMap jsonToMap(const QByteArray &json)
{
    return read<dom::object, QVariantMap>(json);
}

QVariantList jsonToList(const QByteArray &json, qsizetype most)
{
    const qsizetype end = most < 0 ? -1 : endOfElements(json, most);
    return read<dom::array, QVariantList>(end < 0 ? json : json.first(end) + ']');
}
