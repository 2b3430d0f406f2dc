#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QObject>
#include <QString>

/// The application's object for a user, as far as contents need it: the name that the account knows
/// the user by. See SystemItem::setSender() and CardItem::setUser().
class MODELBASE_EXPORT ContactBase : public QObject
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(QString name READ name NOTIFY nameChanged)

public:
    using QObject::QObject;

    virtual QString name() const = 0;

Q_SIGNALS:
    void nameChanged();
};
