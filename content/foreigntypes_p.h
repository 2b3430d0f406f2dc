#pragma once

#include "base/basefile.h"

#include <QtQml/qqml.h>

// Types in the QML module that are not the model layer's own.

/// BaseFile; its own library has nothing to do with QML.
struct BaseFileInQml {
    Q_GADGET
    QML_FOREIGN(BaseFile)
    QML_NAMED_ELEMENT(BaseFile)
    QML_UNCREATABLE("made by the model layer")
};

#if QT_VERSION < QT_VERSION_CHECK(6, 5, 0)
/// Ids, times and sizes are of this type, which Qt's own tools do not find anywhere before Qt 6.5.
struct LongInQml {
    Q_GADGET
    QML_FOREIGN(qlonglong)
    QML_ANONYMOUS
};
#endif
