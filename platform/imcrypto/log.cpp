#include "imcrypto/log_p.h"

#include "imlog/imlog.h"

#include <QLoggingCategory>

namespace crypto
{
namespace
{

Q_LOGGING_CATEGORY(lcKeys, "im.storage")

} // namespace

void logFailure(const QString &text)
{
    ImLog::error(lcKeys(), QStringLiteral("keys: ") + text);
}

} // namespace crypto
