#pragma once

#include <QMetaMethod>
#include <QObject>

#include <functional>

/// Notes the signals of objects, by name, in the order in which they come.
class SignalLog : public QObject
{
public:
    explicit SignalLog(const QObjectList &objects)
    {
        // One slot behind QObject's own takes them all, as QSignalSpy has it.
        const int slot = QObject::staticMetaObject.methodCount();
        for (QObject *object : objects) {
            const QMetaObject *meta = object->metaObject();
            for (int i = QObject::staticMetaObject.methodCount(); i < meta->methodCount(); ++i) {
                if (meta->method(i).methodType() == QMetaMethod::Signal)
                    QMetaObject::connect(object, i, this, slot, Qt::DirectConnection);
            }
        }
    }

    /// What came since the last take().
    const QStringList &names() const { return m_names; }
    /// The same as "first second", and forgets it.
    QString take() { return std::exchange(m_names, {}).join(u' '); }

    std::function<void()> atEach; ///< called when one has been noted

    int qt_metacall(QMetaObject::Call call, int id, void **arguments) override
    {
        id = QObject::qt_metacall(call, id, arguments);
        if (call == QMetaObject::InvokeMetaMethod && id == 0) {
            m_names +=
                QLatin1StringView(sender()->metaObject()->method(senderSignalIndex()).name());
            if (atEach)
                atEach();
        }
        return id - 1;
    }

private:
    QStringList m_names;
};
