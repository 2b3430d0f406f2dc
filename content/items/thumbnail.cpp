#include "content/items/thumbnail_p.h"

#include "base/privatefile.h"
#include "base/util.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "multimedia/audioplayer.h"
#include "multimedia/videocapture.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDateTime>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <QSaveFile>

#include <algorithm>

namespace
{

/// Enough for the widest message on a screen with two device pixels a pixel, less a little.
constexpr int longestSide = 640;
/// Blurred over the width of a message, more would not be seen.
constexpr int longestPreviewSide = 40;
constexpr int jpegQuality = 80;
/// As much as is taken from a camera, and no more than fits into memory a few times.
constexpr qint64 mostPixels = 100'000'000;

/// One name for one state of a file: made again, the image takes its old one's place.
QString imageName(const QString &file)
{
    const QFileInfo info(file);
    const QString key = info.absoluteFilePath() + u'\n' + QString::number(info.size()) + u'\n'
        + QString::number(info.lastModified().toMSecsSinceEpoch());
    const QByteArray hash = QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha256);
    return QStringLiteral("thumb-") + QString::fromLatin1(hash.toHex().first(32))
        + QStringLiteral(".jpg");
}

/// JPEG knows no transparency; what one sees through is white paper.
QImage opaque(const QImage &image)
{
    if (!image.hasAlphaChannel())
        return image;
    QImage paper(image.size(), QImage::Format_RGB32);
    paper.fill(Qt::white);
    QPainter(&paper).drawImage(0, 0, image);
    return paper;
}

QSize fitted(QSize size, int side)
{
    if (std::max(size.width(), size.height()) <= side)
        return size;
    return size.scaled(side, side, Qt::KeepAspectRatio).expandedTo({1, 1});
}

QImage readScaled(const QString &file, int side)
{
    if (!QFileInfo(file).isFile())
        return {};
    QImageReader reader(file);
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (size.isEmpty() || qint64(size.width()) * size.height() > mostPixels)
        return {};
    reader.setScaledSize(fitted(size, side));
    return reader.read();
}

QByteArray jpeg(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!opaque(image).save(&buffer, "jpg", jpegQuality))
        return {};
    return bytes;
}

bool store(const QByteArray &bytes, const QString &path)
{
    QSaveFile file(path);
    return privatefile::open(file) && file.write(bytes) == bytes.size() && file.commit();
}

} // namespace

std::optional<FileItem::Thumbnail> FileItem::Thumbnail::make(const QString &file, Kind kind,
                                                             const QString &directory)
{
    const auto refuse = [&](const char *why) {
        ImLog::error(
            lcModel(),
            QStringLiteral("No thumbnail of \"%1\": %2.").arg(file, QLatin1StringView(why)));
        return std::nullopt;
    };
    if (!Util::mkpath(directory))
        return refuse("its directory cannot be made");

    Thumbnail made;
    made.path = directory + imageName(file);
    QImage image;
    switch (kind) {
    case Picture:
        made.natural = pictureSize(file);
        image = readScaled(file, longestSide);
        if (image.isNull() || !store(jpeg(image), made.path))
            return refuse("the picture cannot be read or the thumbnail not be stored");
        break;
    case Video: {
        const auto frame = VideoCapture::capture(file, made.path, longestSide);
        if (!frame)
            return std::nullopt;
        made.natural = frame->natural;
        made.duration = frame->duration;
        image.load(made.path);
        break;
    }
    case Music:
        made.path = AudioPlayer::getCover(file, directory);
        if (made.path.isEmpty())
            return std::nullopt;
        image = readScaled(made.path, longestSide);
        break;
    }
    if (image.isNull())
        return refuse("the image cannot be read");
    made.size = image.size();
    made.preview = jpeg(image.scaled(fitted(image.size(), longestPreviewSide),
                                     Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    return made;
}

QSize pictureSize(const QString &file)
{
    if (!QFileInfo(file).isFile())
        return {};
    QImageReader reader(file);
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    return reader.transformation() & QImageIOHandler::TransformationRotate90 ? size.transposed()
                                                                             : size;
}
