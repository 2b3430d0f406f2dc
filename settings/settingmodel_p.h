#pragma once

#include <QObject>

#include <type_traits>

/// Emits the change signal of one setting, with its value if the signal carries one.
template <typename Model, auto get, auto changed>
void announce(Model *model)
{
    if constexpr (std::is_invocable_v<decltype(changed), Model *>)
        Q_EMIT(model->*changed)();
    else
        Q_EMIT(model->*changed)((model->*get)());
}
