#pragma once

#include <QString>

#include <optional>

/// The lock of the whole application: passcodes, stored as digests only.
namespace applock
{

enum class Opens {
    Accounts,   ///< everything is as before
    Notebook,   ///< the hidden notebook, which looks like everything there is
    Destruction ///< every account is deleted for good
};

/// An empty one removes the passcode; without a passcode for the accounts there is no lock.
void setPasscode(const QString &passcode, Opens opens = Opens::Accounts);
bool hasPasscode(Opens opens = Opens::Accounts);
void lock();
/// The same as the property "appLocked" of the application object, which the manager sets, too.
bool isLocked();
/// What the passcode has opened; nothing for a wrong one.
std::optional<Opens> unlock(const QString &passcode);

} // namespace applock
