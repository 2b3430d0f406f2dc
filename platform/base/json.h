#pragma once

#include "base/base_export.h"

#include <QByteArray>
#include <QVariant>

/// Stored maps and lists as compact JSON (RFC 8259), and back.
///
/// Writing gives the bytes that QJsonDocument would write: keys in the map's order, types without a
/// JSON form as QJsonValue::fromVariant() makes them, half surrogate pairs as escapes. Reading
/// gives what QJsonDocument would read: of equal keys the last one wins, whole numbers within 64
/// bits (also "1.0") are qlonglong, all other numbers double.
///
/// Two things differ, because they would lose something: U+FEFF at the start of a text, which
/// QJsonDocument drops, is kept (and written as an escape); a number that is too small for a double
/// is 0, and not the end of everything around it.
///
/// What cannot be read or written (no JSON, not an object or list at the top, nested deeper than
/// 1024 levels) gives an empty result and one log line, which never holds any of the content. No
/// bytes at all are an empty map or list, without a line. Reentrant.

MODELBASE_BASE_EXPORT QByteArray mapToJson(const QVariantMap &map);
MODELBASE_BASE_EXPORT QVariantMap jsonToMap(const QByteArray &json);
MODELBASE_BASE_EXPORT QByteArray listToJson(const QVariantList &list);
/// At most the first `most` elements: what is behind them is not looked at. Below 0: all.
MODELBASE_BASE_EXPORT QVariantList jsonToList(const QByteArray &json, qsizetype most = -1);
