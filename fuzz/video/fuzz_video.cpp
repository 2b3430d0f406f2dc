// Videos from a message: a thumbnail of the requested size, or nothing at all.

#include "multimedia/videocapture.h"
#include "support/fuzzing.h"

#include <QFileInfo>
#include <QImage>

using fuzzing::check;

void fuzzOne(QByteArrayView input)
{
    constexpr int side = 64;
    const QDir folder = fuzzing::folderWith(QStringLiteral("video"), input);
    const QString video = folder.filePath(QStringLiteral("video"));
    const QString image = folder.filePath(QStringLiteral("image.png"));
    const auto frame = VideoCapture::capture(video, image, side);
    check(folder.entryList(QDir::Files).size() == (frame ? 2 : 1),
          "there is a thumbnail, or nothing");
    if (!frame)
        return;
    check(frame->size.width() <= side && frame->size.height() <= side,
          "a thumbnail is no larger than was asked for");
    check(QImage(image).size() == frame->size, "a thumbnail is an image of the size that is said");
    check(frame->duration >= 0, "no video is shorter than nothing");
}
