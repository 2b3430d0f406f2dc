#pragma once

#include <QtQml/qqmlregistration.h>

#include <QJSEngine>

class QQmlEngine;

// How classes stand in the QML module im.modelbase. Both go right behind Q_OBJECT.

/// A class whose objects the model layer or the application makes; QML sees its type and enums.
#define MODELBASE_QML_TYPE                                                                         \
    QML_ELEMENT                                                                                    \
    QML_UNCREATABLE("made by the model layer")

/// A class of one object, given by the static function `instance`. QML never deletes it.
#define MODELBASE_QML_SINGLETON(Class, instance)                                                   \
    QML_ELEMENT                                                                                    \
    QML_SINGLETON                                                                                  \
public:                                                                                            \
    static Class *create(QQmlEngine *, QJSEngine *)                                                \
    {                                                                                              \
        QJSEngine::setObjectOwnership(instance(), QJSEngine::CppOwnership);                        \
        return instance();                                                                         \
    }                                                                                              \
                                                                                                   \
private:
