#pragma once

#include <QString>

namespace cryptobase
{

/// Writes one log line for a refusal or failure, and clears OpenSSL's error queue of this thread,
/// so that its entries do not confuse later users of OpenSSL. `text` names sizes and operations,
/// never bytes.
void logFailure(const QString &text);

} // namespace cryptobase
