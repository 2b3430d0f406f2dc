#pragma once

#include <QVariantMap>

#include <optional>

namespace multimedia
{

/// What stands in an audio file beside the sound.
struct AudioTags {
    QVariantMap album;          ///< as AudioPlayer::getAlbumInfo() gives it
    QList<QByteArray> pictures; ///< at most 16 MiB each, front covers first; only when asked for
};

/// Reads what AudioPlayer documents. Nothing, with a log line, on failure.
std::optional<AudioTags> readAudioTags(const QString &path, bool withPictures);

} // namespace multimedia
