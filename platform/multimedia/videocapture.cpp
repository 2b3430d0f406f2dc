#include "multimedia/videocapture.h"

#include "base/privatefile.h"
#include "base/undying.h"
#include "multimedia/mediafile_p.h"
#include "multimedia/mediareader_p.h"

#include <QFileInfo>
#include <QImage>
#include <QSaveFile>

namespace
{

using namespace multimedia;

constexpr int greatestThumbnail = 4096;

/// Why the image cannot be stored at `imagePath`; empty when it can.
QString targetProblem(const QString &videoPath, const QFileInfo &imagePath)
{
    static const auto &endings =
        undying(QStringList{QStringLiteral("png"), QStringLiteral("jpg"), QStringLiteral("jpeg")});
    if (!endings.contains(imagePath.suffix().toLower()))
        return QStringLiteral("only png and jpg can be written");
    if (imagePath.exists() && !imagePath.isFile())
        return QStringLiteral("not a file");
    if (imagePath.exists() && imagePath == QFileInfo(videoPath))
        return QStringLiteral("that is the video itself");
    return {};
}

} // namespace

bool VideoCapture::isVideoFile(const QString &path)
{
    MediaReader *reader = mediaReader();
    return reader && reader->isVideoFile(path);
}

std::optional<VideoCapture::Frame> VideoCapture::capture(const QString &videoPath,
                                                         const QString &imagePath, int greatestSide)
{
    const QString purpose = QStringLiteral("cannot store the thumbnail");
    QString why = targetProblem(videoPath, QFileInfo(imagePath));
    if (greatestSide < 1 || greatestSide > greatestThumbnail)
        why = QStringLiteral("%1 pixels are no size for it").arg(greatestSide);
    if (!why.isEmpty()) {
        logFailure(purpose, imagePath, why);
        return std::nullopt;
    }
    MediaReader *reader = mediaReader();
    const auto decoded = reader ? reader->decodeFrame(videoPath, greatestSide) : std::nullopt;
    if (!decoded)
        return std::nullopt;
    QSaveFile file(imagePath);
    const QByteArray format = QFileInfo(imagePath).suffix().toLatin1();
    if (!privatefile::open(file) || !decoded->image.save(&file, format.constData())
        || !file.commit()) {
        logFailure(purpose, imagePath, file.errorString());
        return std::nullopt;
    }
    return Frame{decoded->image.size(), decoded->natural, decoded->duration};
}
