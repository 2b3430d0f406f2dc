#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QObject>

/// The application's message object, as far as its content needs it: the display size that was
/// measured for it earlier and kept with the message, in pixels.
class MODELBASE_EXPORT MessageBase : public QObject
{
    Q_OBJECT
    MODELBASE_QML_TYPE

public:
    using QObject::QObject;

    virtual int contentHeight() const = 0;
    virtual int contentWidth() const = 0;
};
