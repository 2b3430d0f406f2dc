#include "base/storedvalue.h"

#include "imlog/imlog.h"

#include <QLoggingCategory>

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{

Q_LOGGING_CATEGORY(lcStored, "im.base.stored")

} // namespace

qint64 StoredValue::toInt64(const QVariant &value)
{
    const int type = value.typeId();
    if (type != QMetaType::Double && type != QMetaType::Float)
        return value.toLongLong();
    // The nearest doubles that 64 bits hold; beyond them a conversion may give anything.
    constexpr double limit = 9223372036854774784.0;
    const double number = value.toDouble();
    return std::isnan(number) ? 0 : qint64(std::clamp(number, -limit, limit));
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

QByteArray StoredValue::toBytes(const QVariant &value, const QString &key)
{
    const auto decoded = QByteArray::fromBase64Encoding(value.toByteArray(),
                                                        QByteArray::AbortOnBase64DecodingErrors);
    if (decoded)
        return decoded.decoded;
    ImLog::error(lcStored(), QStringLiteral("A stored \"%1\" is no Base64, refused").arg(key));
    return {};
}
