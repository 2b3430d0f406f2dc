#pragma once

#include "multimedia/multimedia_export.h"

#include <QString>
#include <QVariantMap>

/// What a player shows of an audio file before playing it. The bytes of a file decide its kind, not
/// its name: MP3, MPEG-4 audio (M4A), FLAC, Ogg with Vorbis, Opus, Speex or FLAC, WAV, WMA, and
/// plain AAC and AC-3. Files are read, never changed; pipes, devices and directories are refused
/// without opening.
///
/// Thread: any. Both calls read from the disk: up to 64 MiB of a file with a cover, and all of
/// plain AAC and AC-3, whose length cannot be found otherwise. They usually take milliseconds, at
/// most 10 seconds, but must not run on a thread that draws.
class MODELBASE_MULTIMEDIA_EXPORT AudioPlayer
{
public:
    /// The album map of the audio file at `path`. A key is missing when the file lacks the value.
    ///
    /// | key | type | what |
    /// |---|---|---|
    /// | "Name" | QString | the title |
    /// | "Artist", "Album", "Genre" | QString | |
    /// | "Year", "Track" | int | |
    /// | "Duration" | int | milliseconds |
    /// | "Bitrate" | int | kbit/s |
    /// | "SampleRate" | int | Hz |
    /// | "Channels" | int | |
    ///
    /// Texts are one line of at most 1000 UTF-16 units. Empty, with a log line, when there is no
    /// such file, it is not audio of a kind above, or, on Windows, it is larger than 1 GiB.
    static QVariantMap getAlbumInfo(const QString &path);

    /// Stores the cover from the tags of the audio file at `path` in `directory`, which is created
    /// if missing, and returns the path of the image file. The front cover is preferred to other
    /// pictures. A picture counts if it begins like a JPEG, PNG, GIF, BMP or WebP image for which
    /// Qt has a plugin, and has at most 16 MiB and 40 million pixels; only decoding shows whether
    /// the rest of it is valid.
    ///
    /// The file is named "cover-<hash>.<format>", with the first 32 hexadecimal digits of the
    /// image's SHA-256 and the extension of its real format, whatever the tags claim. So one cover
    /// is one file however many songs share it, a repeated call returns the same path, and the file
    /// is written only once. It appears atomically. A file of that name with other content is left
    /// alone, and the result is empty.
    ///
    /// Empty when the audio file has no such picture; WAV, WMA, AAC and AC-3 never have one. Empty,
    /// with a log line, when the file cannot be read, when the picture is invalid, or when the
    /// image cannot be stored.
    static QString getCover(const QString &path, const QString &directory);

    AudioPlayer() = delete;
};
