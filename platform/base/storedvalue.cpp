#include "base/storedvalue.h"

#include "imlog/imlog.h"

#include <QLoggingCategory>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace
{

Q_LOGGING_CATEGORY(lcStored, "im.base")

} // namespace

qint64 StoredValue::toInt64(const QVariant &value)
{
    using Limits = std::numeric_limits<qint64>;
    switch (value.typeId()) {
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return qint64(std::min(value.toULongLong(), quint64(Limits::max())));
    case QMetaType::Float:
    case QMetaType::Double: {
        // Converting a number out of range may give anything.
        constexpr double beyond = 9223372036854775808.0;
        const double number = value.toDouble();
        if (std::isnan(number))
            return 0;
        return number >= beyond ? Limits::max() : number < -beyond ? Limits::min() : qint64(number);
    }
    default:
        return value.toLongLong();
    }
}

qint32 StoredValue::toInt32(const QVariant &value)
{
    using Limits = std::numeric_limits<qint32>;
    return qint32(std::clamp<qint64>(toInt64(value), Limits::min(), Limits::max()));
}

QVariant StoredValue::fromBytes(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toBase64());
}

std::optional<QByteArray> StoredValue::readBytes(const QVariant &value, const QString &key)
{
    auto bytes = QByteArray::fromBase64Encoding(value.toByteArray(),
                                                QByteArray::AbortOnBase64DecodingErrors);
    if (bytes)
        return std::move(bytes.decoded);
    ImLog::error(lcStored(), QStringLiteral("A stored \"%1\" is no Base64, refused").arg(key));
    return std::nullopt;
}

QByteArray StoredValue::toBytes(const QVariant &value, const QString &key)
{
    return readBytes(value, key).value_or(QByteArray());
}
