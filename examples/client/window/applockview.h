#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

/// The application's lock, for views.
class AppLock : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool locked READ locked NOTIFY lockedChanged)
    Q_PROPERTY(bool hasPasscode READ hasPasscode NOTIFY passcodesChanged)
    Q_PROPERTY(bool hasNotebookPasscode READ hasNotebookPasscode NOTIFY passcodesChanged)
    Q_PROPERTY(bool hasDestroyingPasscode READ hasDestroyingPasscode NOTIFY passcodesChanged)

public:
    explicit AppLock(QObject *parent = nullptr);

    bool locked() const;
    bool hasPasscode() const;
    bool hasNotebookPasscode() const;
    bool hasDestroyingPasscode() const;

    Q_INVOKABLE void setPasscode(const QString &passcode);
    Q_INVOKABLE void setNotebookPasscode(const QString &passcode);
    Q_INVOKABLE void setDestroyingPasscode(const QString &passcode);
    Q_INVOKABLE void lock();
    /// False for a wrong passcode.
    Q_INVOKABLE bool unlock(const QString &passcode);

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    void lockedChanged();
    void passcodesChanged();
};
