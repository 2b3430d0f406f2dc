#pragma once

#include "core/valuecache.h"

#include <QMetaType>
#include <QString>
#include <QVariant>

#include <cmath>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>

/// True if the values are equal, so that one need not replace the other; NaN equals itself here,
/// also within a list or map.
bool isSame(const QVariant &a, const QVariant &b);

/// The value as a T, as far as QVariant converts it; nothing if it does not: for a text that is not
/// a number, a number out of T's range, a map.
template <typename T>
std::optional<T> convertedTo(const QVariant &value)
{
    if constexpr (std::is_arithmetic_v<T> && !std::is_same_v<T, bool>) {
        bool ok = false;
        const double number = value.toDouble(&ok);
        if (!ok || !std::isfinite(number))
            return std::nullopt;
        if constexpr (std::is_integral_v<T>) {
            const bool isFraction =
                value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float;
            // 2^63 is the smallest number out of range, and exact as a double.
            if (std::abs(number) >= 9223372036854775808.0)
                return std::nullopt;
            const qint64 whole = isFraction ? qRound64(number) : value.toLongLong(&ok);
            if (!ok || !std::in_range<T>(whole))
                return std::nullopt;
            return T(whole);
        } else {
            return number;
        }
    }
    T result = T();
    if (!QMetaType::convert(value.metaType(), value.constData(), QMetaType::fromType<T>(), &result))
        return std::nullopt;
    return result;
}

/// The value under `key`, or `fallback` if it is not a T.
template <typename T, typename Mutex>
T readCached(Mutex &mutex, const ValueCache &cache, const QString &key, const T &fallback)
{
    std::unique_lock lock(mutex);
    const auto found = cache.find(key);
    if (found == cache.end())
        return fallback;
    const QVariant &value = found->second;
    if constexpr (std::is_same_v<T, QVariant>) {
        return value;
    } else {
        // Fractions may be NaN.
        if (value.typeId() == qMetaTypeId<T>() && !std::is_floating_point_v<T>)
            return *static_cast<const T *>(value.constData());
        const QVariant copy = value;
        lock.unlock();
        return convertedTo<T>(copy).value_or(fallback);
    }
}
