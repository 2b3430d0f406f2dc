#include "cryptobase/failure_p.h"

#include "imlog/imlog.h"

#include <QLoggingCategory>

#include <openssl/err.h>

namespace cryptobase
{
namespace
{

Q_LOGGING_CATEGORY(lcCrypto, "im.base")

} // namespace

void logFailure(const QString &text)
{
    ERR_clear_error();
    ImLog::error(lcCrypto(), QStringLiteral("crypto: ") + text);
}

} // namespace cryptobase
