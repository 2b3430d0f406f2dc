#pragma once

#include <QString>

/// The lock of the whole application: a passcode, of which only a digest is kept.
namespace applock
{

/// An empty one removes the lock.
void setPasscode(const QString &passcode);
void lock();
/// As the property "appLocked" of the application object, which the manager sets, too.
bool isLocked();
/// False for a wrong passcode.
bool unlock(const QString &passcode);

} // namespace applock
