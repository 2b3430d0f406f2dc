#pragma once

#include <utility>

/// Makes an object that is never destroyed, for a static reference: threads may still read it while
/// the process exits and other statics are destroyed.
template <typename T>
const T &undying(T value)
{
    return *new T(std::move(value));
}

/// State that each thread keeps between calls. Null once the thread has destroyed it: on the main
/// thread, atexit functions and static destructors run after that.
template <typename T>
T *keptByThread()
{
    thread_local bool isGone = false;
    struct Keeper {
        T value;
        ~Keeper() { isGone = true; }
    };
    if (isGone)
        return nullptr;
    thread_local Keeper keeper;
    return &keeper.value;
}
