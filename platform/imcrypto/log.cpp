#include "imcrypto/log_p.h"

#include "imlog/imlog.h"

#include <QLoggingCategory>

namespace crypto
{
namespace
{

Q_LOGGING_CATEGORY(lcKeys, "modelbase.keys")

} // namespace

void logFailure(const QString &text)
{
    const QString line = QStringLiteral("keys: ") + text;
    qCWarning(lcKeys).noquote() << line;
    ImLog::error(line);
}

} // namespace crypto
