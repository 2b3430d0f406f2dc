#include "multimedia/audioplayer.h"

#include "base/privatefile.h"
#include "multimedia/mediafile_p.h"
#include "multimedia/mediareader_p.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QSaveFile>

namespace
{

using namespace multimedia;

constexpr qint64 mostPixels = 40'000'000;

/// The file extension of an image that can be stored; empty for anything else.
QString formatOf(QByteArray image)
{
    static const QByteArrayList known{"jpeg", "png", "gif", "bmp", "webp"};
    QBuffer buffer(&image);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    const QByteArray format = reader.format();
    if (!known.contains(format))
        return {};
    const QSize size = reader.size();
    if (size.isEmpty() || qint64(size.width()) * size.height() > mostPixels)
        return {};
    return format == "jpeg" ? QStringLiteral("jpg") : QString::fromLatin1(format);
}

bool holds(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return QFileInfo(file).isFile() && file.size() == content.size()
        && file.open(QIODevice::ReadOnly) && file.readAll() == content;
}

/// The path of the image below `directory`; empty, with a log line, when it cannot be stored.
QString store(const QByteArray &image, const QString &format, const QString &directory)
{
    const QByteArray hash = QCryptographicHash::hash(image, QCryptographicHash::Sha256).toHex();
    const QString path = QDir(directory).filePath(
        QStringLiteral("cover-%1.%2").arg(QString::fromLatin1(hash.first(32)), format));
    const QString purpose = QStringLiteral("cannot store the cover");
    const QFileInfo there(path);
    if (there.exists() || there.isSymLink()) {
        if (holds(path, image))
            return path;
        logFailure(purpose, path, QStringLiteral("the name is taken"));
        return {};
    }
    QSaveFile file(path);
    if (!privatefile::makeDirectory(directory) || !privatefile::open(file)
        || file.write(image) != image.size() || !file.commit()) {
        logFailure(purpose, path, file.errorString());
        return {};
    }
    return path;
}

} // namespace

QVariantMap AudioPlayer::getAlbumInfo(const QString &path)
{
    MediaReader *reader = mediaReader();
    return reader ? reader->readAudioTags(path, false).value_or(AudioTags{}).album : QVariantMap();
}

QString AudioPlayer::getCover(const QString &path, const QString &directory)
{
    MediaReader *reader = mediaReader();
    const auto tags = reader ? reader->readAudioTags(path, true) : std::nullopt;
    if (!tags || tags->pictures.isEmpty())
        return {};
    for (const QByteArray &picture : tags->pictures) {
        const QString format = formatOf(picture);
        if (!format.isEmpty())
            return store(picture, format, directory);
    }
    logFailure(QStringLiteral("cannot use the cover of"), path,
               QStringLiteral("no picture of a known kind and a sensible size"));
    return {};
}
