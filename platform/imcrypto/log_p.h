#pragma once

#include <QString>

namespace crypto
{

/// One log line about a failure. `text` names ids and paths, never key bytes.
void logFailure(const QString &text);

} // namespace crypto
