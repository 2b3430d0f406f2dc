#pragma once

#include <QString>

#include <optional>

/// The lock of the whole application: passcodes, of which only digests are kept.
namespace applock
{

enum class Opens {
    Accounts,   ///< everything is as it was
    Notebook,   ///< the hidden notebook, and nobody sees that there is more
    Destruction ///< every account is deleted, for good
};

/// An empty one removes the passcode; without that for the accounts there is no lock.
void setPasscode(const QString &passcode, Opens opens = Opens::Accounts);
bool hasPasscode(Opens opens = Opens::Accounts);
void lock();
/// As the property "appLocked" of the application object, which the manager sets, too.
bool isLocked();
/// What the passcode has opened; nothing for a wrong one.
std::optional<Opens> unlock(const QString &passcode);

} // namespace applock
