#pragma once

// Marks what the shared library offers to others; everything else stays hidden in it. The classes
// that protoc generates carry it too.

#if defined(_WIN32)
#    if defined(MODELBASE_BUILD_modelbase)
#        define MODELBASE_EXPORT __declspec(dllexport)
#    else
#        define MODELBASE_EXPORT __declspec(dllimport)
#    endif
#else
#    define MODELBASE_EXPORT __attribute__((visibility("default")))
#endif
