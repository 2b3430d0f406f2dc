#pragma once

#include <QMetaMethod>
#include <QObject>
#include <QStringList>

/// Notes the signals of some objects in the order in which they come.
class SignalOrder : public QObject
{
    Q_OBJECT
public:
    void listen(QObject *object)
    {
        const QMetaMethod slot = metaObject()->method(metaObject()->indexOfSlot("note()"));
        const QMetaObject *meta = object->metaObject();
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
            if (meta->method(i).methodType() == QMetaMethod::Signal)
                connect(object, meta->method(i), this, slot);
        }
    }
    QStringList names;

private Q_SLOTS:
    void note()
    {
        names.append(
            QString::fromLatin1(sender()->metaObject()->method(senderSignalIndex()).name()));
    }
};
