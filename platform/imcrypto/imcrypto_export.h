#pragma once

#include <QtCore/qglobal.h>

#if defined(MODELBASE_BUILD_imcrypto)
#    define IMCRYPTO_EXPORT Q_DECL_EXPORT
#else
#    define IMCRYPTO_EXPORT Q_DECL_IMPORT
#endif
