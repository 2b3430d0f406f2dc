#pragma once

#include <QMetaProperty>
#include <QObject>
#include <QStringList>
#include <QVariant>

// What holds for the properties of every class.

/// The values of all of them.
inline QVariantMap valuesOf(const QObject &object)
{
    QVariantMap values;
    const QMetaObject *meta = object.metaObject();
    for (int i = QObject::staticMetaObject.propertyCount(); i < meta->propertyCount(); ++i)
        values.insert(QLatin1StringView(meta->property(i).name()), meta->property(i).read(&object));
    return values;
}

/// What is wrong with the signals that came since the values were those: each property that has
/// another one since is to be told of once, and nothing else.
inline QString mistold(const QObject &object, const QVariantMap &before, QStringList signalled)
{
    const QVariantMap after = valuesOf(object);
    const QMetaObject *meta = object.metaObject();
    QStringList wrong;
    QStringList due;
    for (auto at = after.begin(); at != after.end(); ++at) {
        if (at.value() == before.value(at.key()))
            continue;
        const QMetaProperty property = meta->property(meta->indexOfProperty(qPrintable(at.key())));
        const QString name = QLatin1StringView(property.notifySignal().name());
        if (!due.contains(name))
            due += name;
    }
    for (const QString &name : std::as_const(due)) {
        if (!signalled.removeOne(name))
            wrong += name + QStringLiteral(" is missing");
    }
    for (const QString &name : std::as_const(signalled))
        wrong += name + QStringLiteral(" is needless");
    return wrong.join(u',');
}
