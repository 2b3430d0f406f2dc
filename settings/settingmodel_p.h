#pragma once

#include "settings/valuecache.h"

#include <QMetaType>
#include <QString>
#include <QVariant>

#include <mutex>
#include <type_traits>

// What the settings models share.

/// The value under `key` as QVariant converts it to T, or `fallback` where there is none.
template <typename T, typename Mutex>
T readCached(Mutex &mutex, const ValueCache &cache, const QString &key, const T &fallback)
{
    QVariant value;
    {
        const std::lock_guard lock(mutex);
        const auto found = cache.find(key);
        if (found == cache.end())
            return fallback;
        if (found->second.typeId() == qMetaTypeId<T>())
            return *static_cast<const T *>(found->second.constData());
        value = found->second;
    }
    return value.value<T>();
}

/// Emits the change signal of one setting, with its value if the signal carries one.
template <typename Model, auto get, auto changed>
void announce(Model *model)
{
    if constexpr (std::is_invocable_v<decltype(changed), Model *>)
        Q_EMIT(model->*changed)();
    else
        Q_EMIT(model->*changed)((model->*get)());
}
