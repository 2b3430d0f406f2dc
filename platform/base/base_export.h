#pragma once

#include <QtCore/qglobal.h>

#if defined(MODELBASE_BUILD_base)
#    define BASE_EXPORT Q_DECL_EXPORT
#else
#    define BASE_EXPORT Q_DECL_IMPORT
#endif
