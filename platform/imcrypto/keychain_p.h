#pragma once

#include "cryptobase/securebytes.h"

#include <QString>

#include <optional>

/// The user's keychain, asked on a thread of its own, so that a service that never answers cannot
/// hold a caller for longer than half a minute. What fails is logged.
namespace crypto::keychain
{

/// False where no keychain can run: without a session bus. Asks nobody.
bool isPossible();

/// Whether a keychain runs, or would be started for us. Without a session bus the answer comes at
/// once.
bool isAvailable();

std::optional<cryptobase::SecureBytes> read(const QString &entry);
bool write(const QString &entry, const cryptobase::SecureBytes &key);
void remove(const QString &entry);

} // namespace crypto::keychain
