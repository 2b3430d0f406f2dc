#pragma once

#include "base/base_export.h"

#include <QByteArray>
#include <QVariant>

/// Stored maps and lists as compact JSON (RFC 8259), and back.
///
/// Writes the bytes that QJsonDocument would write: keys in the map's order, types without a JSON
/// form as QJsonValue::fromVariant() converts them, half surrogate pairs as escapes. Reads what
/// QJsonDocument would read: the last of equal keys wins, whole numbers within 64 bits (also "1.0")
/// are qlonglong, all other numbers double.
///
/// Two things differ, to lose nothing: U+FEFF at the start of a text, which QJsonDocument drops, is
/// kept (and written as an escape); a number too small for a double is 0, and does not end the
/// parsing.
///
/// Input that cannot be read or written (not JSON, not an object or list at the top, nested deeper
/// than 1024 levels) gives an empty result and one log line, without any of the content. An empty
/// input is an empty map or list, without a log line. Reentrant.

MODELBASE_BASE_EXPORT QByteArray mapToJson(const QVariantMap &map);
MODELBASE_BASE_EXPORT QVariantMap jsonToMap(const QByteArray &json);
MODELBASE_BASE_EXPORT QByteArray listToJson(const QVariantList &list);
/// At most the first `most` elements; the rest is not read. Below 0: all.
MODELBASE_BASE_EXPORT QVariantList jsonToList(const QByteArray &json, qsizetype most = -1);
