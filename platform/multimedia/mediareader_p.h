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

/// The data of an audio file besides the sound.
struct AudioTags {
    QVariantMap album;          ///< as AudioPlayer::getAlbumInfo() returns it
    QList<QByteArray> pictures; ///< at most 16 MiB each, front covers first; only on request
};

/// A frame of a video.
struct VideoFrame {
    QImage image;
    QSize natural;       ///< pixels of the video, rotated as displayed
    qint64 duration = 0; ///< milliseconds; 0 when unknown
};

/// Reads songs and videos. It is in a separate library, loaded on first use: with its dependencies,
/// it is larger than everything else together.
///
/// Thread: any. Failures are logged; nothing throws.
class MediaReader
{
public:
    virtual ~MediaReader() = default;

    virtual std::optional<AudioTags> readAudioTags(const QString &path, bool withPictures) = 0;
    virtual bool isVideoFile(const QString &path) = 0;
    /// @param greatestSide in pixels, of the image
    virtual std::optional<VideoFrame> decodeFrame(const QString &path, int greatestSide) = 0;
};

/// Null, with one log line per process, if the library is missing.
MediaReader *mediaReader();

} // namespace multimedia
