#pragma once

#include <QString>
#include <QStringView>
#include <QVariant>

#include <cstddef>
#include <functional>
#include <string_view>
#include <unordered_map>

struct ValueCacheHash {
    // Not noexcept: so the standard library keeps the hash with the key.
    std::size_t operator()(const QString &key) const
    {
        const QStringView text = key;
        return std::hash<std::u16string_view>()({text.utf16(), std::size_t(text.size())});
    }
};
/// Values by key, as the settings models keep them in memory. Its nodes do not move when others are
/// added, so references to them stay valid.
using ValueCache = std::unordered_map<QString, QVariant, ValueCacheHash>;
