#pragma once

#include <utility>

/// Makes what is never destroyed, for a static reference: threads may still read it while the
/// process exits, when everything static of other kinds is being destroyed.
template <typename T>
const T &undying(T value)
{
    return *new T(std::move(value));
}
