#pragma once

#include "base/base_export.h"

#include <QByteArray>
#include <QVariant>

/// Stored maps and lists as compact JSON (RFC 8259), and back.
///
/// What cannot be read (no JSON, not an object or list at the top, nested deeper than 1024 levels)
/// gives an empty result and one log line; no input makes these functions fail otherwise. Whole
/// numbers within 64 bits come back as qlonglong, all others as double. Reentrant.

BASE_EXPORT QByteArray mapToJson(const QVariantMap &map);
BASE_EXPORT QVariantMap jsonToMap(const QByteArray &json);
BASE_EXPORT QByteArray listToJson(const QVariantList &list);
BASE_EXPORT QVariantList jsonToList(const QByteArray &json);
