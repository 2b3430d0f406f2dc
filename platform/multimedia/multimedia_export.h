#pragma once

#include <QtCore/qglobal.h>

#if defined(MODELBASE_BUILD_multimedia)
#    define MULTIMEDIA_EXPORT Q_DECL_EXPORT
#else
#    define MULTIMEDIA_EXPORT Q_DECL_IMPORT
#endif
