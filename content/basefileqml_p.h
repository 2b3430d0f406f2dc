#pragma once

#include "base/basefile.h"

#include <QtQml/qqml.h>

/// BaseFile in the QML module; its own library has nothing to do with QML.
struct BaseFileInQml {
    Q_GADGET
    QML_FOREIGN(BaseFile)
    QML_NAMED_ELEMENT(BaseFile)
    QML_UNCREATABLE("made by the model layer")
};
