#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QSize>
#include <QString>
#include <QVariantMap>

#include <optional>

namespace multimedia
{

/// What stands in an audio file beside the sound.
struct AudioTags {
    QVariantMap album;          ///< as AudioPlayer::getAlbumInfo() gives it
    QList<QByteArray> pictures; ///< at most 16 MiB each, front covers first; only when asked for
};

/// A frame of a video.
struct VideoFrame {
    QImage image;
    QSize natural;       ///< pixels of the video, turned as it is shown
    qint64 duration = 0; ///< milliseconds; 0 when unknown
};

/// What looks into songs and videos. It stands in a library of its own, which is loaded when it is
/// first needed: with what it needs, it is larger than all else together.
///
/// Thread: any. Failures are logged, and nothing is thrown.
class MediaReader
{
public:
    virtual ~MediaReader() = default;

    virtual std::optional<AudioTags> readAudioTags(const QString &path, bool withPictures) = 0;
    virtual bool isVideoFile(const QString &path) = 0;
    /// @param greatestSide in pixels, of the image
    virtual std::optional<VideoFrame> decodeFrame(const QString &path, int greatestSide) = 0;
};

/// Null, with one log line a process, where the library is missing.
MediaReader *mediaReader();

} // namespace multimedia
