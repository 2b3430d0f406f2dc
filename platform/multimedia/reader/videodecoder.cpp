#include "multimedia/reader/videodecoder_p.h"

#include "multimedia/mediafile_p.h"
#include "multimedia/reader/mediainput_p.h"

#include <libffmpegthumbnailer/videothumbnailer.h>

#include <algorithm>
#include <vector>

namespace multimedia
{
namespace
{

/// A captured frame, or the reason why there is none.
struct Decoded {
    VideoFrame frame;
    QString why;
};

/// The size of an image before it was scaled down from the `own` pixels of its video. Those may
/// have been rotated and stretched: the image shows that, but its sides are rounded.
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

/// Exceptions of the library pass through.
Decoded decode(QFile *file, int greatestSide)
{
    MediaInput examined(file);
    if (!examined.open(MediaInput::videoFormats) || !examined.examine())
        return {{}, examined.why()};
    MediaInput input(file);
    if (!input.open(MediaInput::videoFormats))
        return {{}, input.why()};
    const QSize own = examined.size();
    const int side = std::min(greatestSide, std::max(own.width(), own.height()));
    ffmpegthumbnailer::VideoThumbnailer thumbnailer(side, false, true, 10, false);
    std::vector<uint8_t> pixels;
    // It does not seek in a stream named "-". If seeking fails, it would examine the input a second
    // time.
    const auto info = thumbnailer.generateThumbnail("-", Rgb, pixels, input.context());
    const qint64 line = qint64(info.width) * 3;
    if (info.width <= 0 || info.height <= 0 || qint64(pixels.size()) < line * info.height)
        return {{}, QStringLiteral("no frame can be decoded")};
    const QImage image(pixels.data(), info.width, info.height, line, QImage::Format_RGB888);
    const QSize natural = naturalSize(own, image.size());
    // If the pixels of a video are not square, the library limits the shorter side.
    if (std::max(info.width, info.height) > side)
        return {{image.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation), natural,
                 examined.duration()},
                {}};
    return {{image.copy(), natural, examined.duration()}, {}};
}

} // namespace

bool isVideoFile(const QString &path)
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

std::optional<VideoFrame> decodeFrame(const QString &path, int greatestSide)
{
    const QString purpose = QStringLiteral("cannot capture");
    QFile file(path);
    if (!openMediaFile(file, purpose))
        return std::nullopt;
    Decoded decoded;
    try {
        decoded = decode(&file, greatestSide);
    } catch (const std::exception &failure) {
        decoded.why = QString::fromLocal8Bit(failure.what());
    } catch (...) {
        decoded.why = QStringLiteral("the decoder failed");
    }
    if (!decoded.frame.image.isNull())
        return decoded.frame;
    logFailure(purpose, path, decoded.why);
    return std::nullopt;
}

} // namespace multimedia
