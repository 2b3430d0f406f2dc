#pragma once

#include <QMetaMethod>
#include <QMetaProperty>
#include <QObject>
#include <QVariant>

/// Objects of the application that are shown by their property "name".
namespace NamedObject
{

inline QString nameOf(const QObject *object)
{
    return object ? object->property("name").toString() : QString();
}

/// Has `receiver` emit `changed` when the object's name changes or the object goes away.
template <typename Receiver>
void follow(const QObject *object, const Receiver *receiver, void (Receiver::*changed)())
{
    if (!object)
        return;
    const QMetaObject *meta = object->metaObject();
    const QMetaProperty name = meta->property(meta->indexOfProperty("name"));
    if (name.hasNotifySignal()) {
        QObject::connect(object, name.notifySignal(), receiver, QMetaMethod::fromSignal(changed),
                         Qt::UniqueConnection);
    }
    QObject::connect(object, &QObject::destroyed, receiver, changed, Qt::UniqueConnection);
}

inline void unfollow(const QObject *object, const QObject *receiver)
{
    if (object)
        QObject::disconnect(object, nullptr, receiver, nullptr);
}

} // namespace NamedObject
