#pragma once

#include <QString>

namespace cryptobase
{

/// One log line for a refusal or a failure, and a clean OpenSSL error queue: it belongs to the
/// thread, and what is left there would confuse whoever uses OpenSSL next. `text` names sizes and
/// operations, never bytes.
void logFailure(const QString &text);

} // namespace cryptobase
