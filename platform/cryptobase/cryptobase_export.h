#pragma once

#include <QtCore/qglobal.h>

#if defined(MODELBASE_BUILD_cryptobase)
#    define CRYPTOBASE_EXPORT Q_DECL_EXPORT
#else
#    define CRYPTOBASE_EXPORT Q_DECL_IMPORT
#endif
