#include "multimedia/videocapture.h"

#include "base/privatefile.h"
#include "base/undying.h"
#include "multimedia/mediafile_p.h"
#include "multimedia/mediainput_p.h"

#include <QFileInfo>
#include <QImage>
#include <QSaveFile>

#include <libffmpegthumbnailer/videothumbnailer.h>

namespace
{

using namespace multimedia;

constexpr int greatestThumbnail = 4096;

/// A captured frame, or why there is none.
struct Decoded {
    QImage image;
    QSize natural;
    qint64 duration = 0;
    QString why;
};

/// The size of an image that was not made smaller than the `own` pixels of its video. Those may have
/// been turned, and stretched: the image knows, but its sides are rounded.
QSize naturalSize(QSize own, QSize image)
{
    for (const QSize &upright : {own, own.transposed()}) {
        const QSize off = upright.scaled(image, Qt::KeepAspectRatioByExpanding) - image;
        if (off.width() <= 1 && off.height() <= 1)
            return upright;
    }
    const int side = std::max(own.width(), own.height());
    return image.scaled(side, side, Qt::KeepAspectRatio);
}

/// What the library throws, goes through.
Decoded decode(QFile *file, int greatestSide)
{
    MediaInput examined(file);
    if (!examined.open(MediaInput::videoFormats) || !examined.examine())
        return {{}, {}, 0, examined.why()};
    MediaInput input(file);
    if (!input.open(MediaInput::videoFormats))
        return {{}, {}, 0, input.why()};
    const QSize own = examined.size();
    const int side = std::min(greatestSide, std::max(own.width(), own.height()));
    ffmpegthumbnailer::VideoThumbnailer thumbnailer(side, false, true, 10, false);
    std::vector<uint8_t> pixels;
    // "-" is a stream in which it does not seek. Where seeking fails, it would examine the input for
    // a second time.
    const auto info = thumbnailer.generateThumbnail("-", Rgb, pixels, input.context());
    const qint64 line = qint64(info.width) * 3;
    if (info.width <= 0 || info.height <= 0 || qint64(pixels.size()) < line * info.height)
        return {{}, {}, 0, QStringLiteral("no frame can be decoded")};
    const QImage image(pixels.data(), info.width, info.height, line, QImage::Format_RGB888);
    const QSize natural = naturalSize(own, image.size());
    // Of a video whose pixels are not square, the library bounds the shorter side.
    if (std::max(info.width, info.height) > side)
        return {image.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation),
                natural,
                examined.duration(),
                {}};
    return {image.copy(), natural, examined.duration(), {}};
}

/// The same of a path; the image is null, and there is a log line, on failure.
Decoded decode(const QString &videoPath, int greatestSide)
{
    const QString purpose = QStringLiteral("cannot capture");
    QFile file(videoPath);
    if (!openMediaFile(file, purpose))
        return {};
    Decoded decoded;
    try {
        decoded = decode(&file, greatestSide);
    } catch (const std::exception &failure) {
        decoded.why = QString::fromLocal8Bit(failure.what());
    } catch (...) {
        decoded.why = QStringLiteral("the decoder failed");
    }
    if (decoded.image.isNull())
        logFailure(purpose, videoPath, decoded.why);
    return decoded;
}

/// Why `imagePath` is no place for the image; empty when it is one.
QString objection(const QString &videoPath, const QFileInfo &imagePath)
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
    const QString purpose = QStringLiteral("cannot take for a video");
    QFile file(path);
    if (!openMediaFile(file, purpose))
        return false;
    MediaInput input(&file);
    if (input.open(MediaInput::videoFormats))
        return true;
    logFailure(purpose, path, input.why());
    return false;
}

std::optional<VideoCapture::Frame> VideoCapture::capture(const QString &videoPath,
                                                         const QString &imagePath, int greatestSide)
{
    const QString purpose = QStringLiteral("cannot store the thumbnail");
    QString why = objection(videoPath, QFileInfo(imagePath));
    if (greatestSide < 1 || greatestSide > greatestThumbnail)
        why = QStringLiteral("%1 pixels are no size for it").arg(greatestSide);
    if (!why.isEmpty()) {
        logFailure(purpose, imagePath, why);
        return std::nullopt;
    }
    const Decoded decoded = decode(videoPath, greatestSide);
    if (decoded.image.isNull())
        return std::nullopt;
    QSaveFile file(imagePath);
    const QByteArray format = QFileInfo(imagePath).suffix().toLatin1();
    if (!privatefile::open(file) || !decoded.image.save(&file, format.constData())
        || !file.commit()) {
        logFailure(purpose, imagePath, file.errorString());
        return std::nullopt;
    }
    return Frame{decoded.image.size(), decoded.natural, decoded.duration};
}
