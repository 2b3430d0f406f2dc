#pragma once

#include "multimedia/multimedia_export.h"

#include <QString>
#include <QVariantMap>

/// What a player shows of an audio file before it plays. A file is what its bytes say, whatever its
/// name: MP3, MPEG-4 audio (M4A), FLAC, Ogg with Vorbis, Opus, Speex or FLAC, WAV, WMA, and plain AAC
/// and AC-3. Files are read, never changed; pipes, devices and directories are refused unopened.
///
/// Thread: any. Both calls read from the disk, up to 64 MiB of a file with a cover, and all of plain
/// AAC and AC-3, which tell in no other way how long they are; they take milliseconds as a rule, 10
/// seconds at most, but belong on no thread that draws.
class MODELBASE_MULTIMEDIA_EXPORT AudioPlayer
{
public:
    /// The album map of the audio file at `path`. A key is missing when the file does not tell.
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
    /// such file, it is not audio of a kind above, or, on Windows, it has more than 1 GiB.
    static QVariantMap getAlbumInfo(const QString &path);

    /// Stores the cover that the tags of the audio file at `path` hold in `directory`, which is made
    /// when missing, and gives the path of the image file. The front cover goes before other
    /// pictures. A picture counts when it begins like a JPEG, PNG, GIF, BMP or WebP image that Qt has
    /// a plugin for, and has at most 16 MiB and 40 million pixels; whether the rest of it is sound
    /// shows when somebody decodes it.
    ///
    /// The file is called "cover-<hash>.<format>", with the first 32 hexadecimal digits of the
    /// image's SHA-256 and the ending of the format that it has, not of what the tags say. So one
    /// cover is one file however many songs share it, asking again gives the same path, and the file
    /// never needs to be written twice. Its appearance is atomic. A file of that name with another
    /// content is left alone, and the result is empty.
    ///
    /// Empty when the audio file has no such picture, as one of WAV, WMA, AAC or AC-3 never has;
    /// empty, with a log line, when it cannot be read, when what it offers as a picture is none, or
    /// the image cannot be stored.
    static QString getCover(const QString &path, const QString &directory);

    AudioPlayer() = delete;
};
