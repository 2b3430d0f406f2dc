#pragma once

#include "cryptobase/securebytes.h"

#include <QString>

#include <optional>

/// The user's keychain, called on a separate thread, so that a service that never answers blocks a
/// caller for half a minute at most. Failures are logged.
namespace crypto::keychain
{

/// False where no keychain can run: without a session bus. Makes no request.
bool isPossible();

/// Whether a keychain runs, or can be started on demand. Answers at once without a session bus.
bool isAvailable();

std::optional<cryptobase::SecureBytes> read(const QString &entry);
bool write(const QString &entry, const cryptobase::SecureBytes &key);
void remove(const QString &entry);

} // namespace crypto::keychain
