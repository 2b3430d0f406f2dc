#pragma once

#include <QtCore/qglobal.h>

#if defined(MODELBASE_BUILD_imlog)
#    define IMLOG_EXPORT Q_DECL_EXPORT
#else
#    define IMLOG_EXPORT Q_DECL_IMPORT
#endif
