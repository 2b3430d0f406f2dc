#pragma once

#include "modelbase_export.h"

#include <QObject>

/// A meeting that the user holds or joins; the application's class derives from this.
class MODELBASE_EXPORT MeetingModelBase : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
};

/// A link to a meeting; the application's class derives from this.
class MODELBASE_EXPORT MeetingLinkItem : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
};
