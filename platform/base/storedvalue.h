#pragma once

#include "base/base_export.h"

#include <QByteArray>
#include <QVariant>

/// Values of stored maps, which may be of any type: what a map says about itself is not trusted.
namespace StoredValue
{

/// A whole number, whatever type it came back as; one beyond the range saturates, what is no number
/// is 0.
BASE_EXPORT qint64 toInt64(const QVariant &value);
BASE_EXPORT qint32 toInt32(const QVariant &value);

/// Bytes are stored as Base64 text.
BASE_EXPORT QVariant fromBytes(const QByteArray &bytes);
/// The bytes of a stored text; none, with a log line that names the key and never the value, when
/// it is no Base64.
BASE_EXPORT QByteArray toBytes(const QVariant &value, const QString &key);

} // namespace StoredValue
