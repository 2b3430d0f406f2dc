#pragma once

#include <QtCore/qglobal.h>

#if defined(MODELBASE_BUILD_storage)
#    define STORAGE_EXPORT Q_DECL_EXPORT
#else
#    define STORAGE_EXPORT Q_DECL_IMPORT
#endif
