#pragma once

#include "base/base_export.h"

#include <QByteArray>
#include <QVariant>

#include <optional>

/// Values of stored maps, which may be of any type: the content of a map is not trusted.
namespace StoredValue
{

/// A whole number of any stored numeric type, without its fraction; saturates when out of range.
/// Texts count only if they are whole numbers within 64 bits. Anything else is 0.
MODELBASE_BASE_EXPORT qint64 toInt64(const QVariant &value);
MODELBASE_BASE_EXPORT qint32 toInt32(const QVariant &value);

/// Bytes are stored as Base64 text (RFC 4648, section 4).
MODELBASE_BASE_EXPORT QVariant fromBytes(const QByteArray &bytes);
/// The bytes of a stored text; nothing, with a log line that names the key and never the value, if
/// it is not Base64. `key` is the value's key. A missing value gives empty bytes.
MODELBASE_BASE_EXPORT std::optional<QByteArray> readBytes(const QVariant &value,
                                                          const QString &key);
/// The same, but empty bytes instead of nothing.
MODELBASE_BASE_EXPORT QByteArray toBytes(const QVariant &value, const QString &key);

} // namespace StoredValue
