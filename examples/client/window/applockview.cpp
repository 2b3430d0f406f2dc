#include "client/window/applockview.h"

#include "client/applock.h"
#include "settings/appsettingmodel.h"

#include <QCoreApplication>
#include <QEvent>

AppLock::AppLock(QObject *parent) : QObject(parent)
{
    // The lock is a property of the application object, which reports changes as events.
    QCoreApplication::instance()->installEventFilter(this);
    const AppSettingModel *settings = AppSettingModel::instance();
    connect(settings, &AppSettingModel::passcodeChanged, this, &AppLock::passcodesChanged);
    connect(settings, &AppSettingModel::incognitoPasswordChanged, this, &AppLock::passcodesChanged);
    connect(settings, &AppSettingModel::destructionPasscodeChanged, this,
            &AppLock::passcodesChanged);
}

bool AppLock::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::DynamicPropertyChange && watched == QCoreApplication::instance())
        Q_EMIT lockedChanged();
    return QObject::eventFilter(watched, event);
}

bool AppLock::locked() const
{
    return applock::isLocked();
}

bool AppLock::hasPasscode() const
{
    return applock::hasPasscode();
}

bool AppLock::hasNotebookPasscode() const
{
    return applock::hasPasscode(applock::Opens::Notebook);
}

bool AppLock::hasDestroyingPasscode() const
{
    return applock::hasPasscode(applock::Opens::Destruction);
}

void AppLock::setPasscode(const QString &passcode)
{
    applock::setPasscode(passcode);
}

void AppLock::setNotebookPasscode(const QString &passcode)
{
    applock::setPasscode(passcode, applock::Opens::Notebook);
}

void AppLock::setDestroyingPasscode(const QString &passcode)
{
    applock::setPasscode(passcode, applock::Opens::Destruction);
}

void AppLock::lock()
{
    applock::lock();
}

bool AppLock::unlock(const QString &passcode)
{
    return applock::unlock(passcode).has_value();
}
