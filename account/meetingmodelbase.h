#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QObject>

/// A meeting that the user holds or joins; the application's class derives from this.
class MODELBASE_EXPORT MeetingModelBase : public QObject
{
    Q_OBJECT
    MODELBASE_QML_TYPE

public:
    using QObject::QObject;
};

/// A link to a meeting; the application's class derives from this.
class MODELBASE_EXPORT MeetingLinkItem : public QObject
{
    Q_OBJECT
    MODELBASE_QML_TYPE

public:
    using QObject::QObject;
};
