#pragma once

#include "base/base_export.h"

#include <QByteArray>
#include <QVariant>

#include <optional>

/// Values of stored maps, which may be of any type: what a map says about itself is not trusted.
namespace StoredValue
{

/// A whole number, whatever numeric type it came back as, without its fraction; one beyond the range
/// saturates. Of texts only whole numbers within 64 bits count. What is no number is 0.
MODELBASE_BASE_EXPORT qint64 toInt64(const QVariant &value);
MODELBASE_BASE_EXPORT qint32 toInt32(const QVariant &value);

/// Bytes are stored as Base64 text (RFC 4648, section 4).
MODELBASE_BASE_EXPORT QVariant fromBytes(const QByteArray &bytes);
/// The bytes of a stored text; nothing, with a log line that names the key and never the value, when
/// it is no Base64. `key` is what the value stands under. What is not there is empty.
MODELBASE_BASE_EXPORT std::optional<QByteArray> readBytes(const QVariant &value,
                                                          const QString &key);
/// The same, and none instead of nothing.
MODELBASE_BASE_EXPORT QByteArray toBytes(const QVariant &value, const QString &key);

} // namespace StoredValue
