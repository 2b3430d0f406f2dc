#include "multimedia/mediafile_p.h"

#include "imlog/imlog.h"

#include <QFileInfo>
#include <QLoggingCategory>

namespace multimedia
{
namespace
{

Q_LOGGING_CATEGORY(lcMultimedia, "im.multimedia")

} // namespace

bool openMediaFile(QFile &file, const QString &purpose)
{
    QString why;
    if (!QFileInfo(file).isFile())
        why = QStringLiteral("not a file");
    else if (!file.open(QIODevice::ReadOnly))
        why = file.errorString();
    else if (file.size() == 0)
        why = QStringLiteral("the file is empty");
    else
        return true;
    logFailure(purpose, file.fileName(), why);
    return false;
}

void logFailure(const QString &purpose, const QString &path, const QString &why)
{
    ImLog::error(lcMultimedia(),
                 QStringLiteral("multimedia: %1 \"%2\": %3").arg(purpose, path, why));
}

} // namespace multimedia
