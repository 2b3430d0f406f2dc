#pragma once

#include "multimedia/multimedia_export.h"

#include <QSize>
#include <QString>

#include <optional>

/// Thumbnails of videos.
class MODELBASE_MULTIMEDIA_EXPORT VideoCapture
{
public:
    struct Frame {
        QSize size;          ///< of the stored image, in pixels
        QSize natural;       ///< the same at the full size of the video
        qint64 duration = 0; ///< of the video, in milliseconds; 0 when unknown
    };

    /// Stores the first frame of the video at `videoPath` as the image file `imagePath`, and
    /// returns when that is done. The image is upright and in proportion, as in a player; its
    /// longer side has `greatestSide` (1 to 4096) pixels, or the video's own if that is less.
    ///
    /// The bytes of the video decide its kind, not its name: MPEG-4, QuickTime, 3GP, Matroska,
    /// WebM, AVI, MPEG, FLV, ASF, RealMedia, Ogg or GIF, of at most 40 million pixels a frame. No
    /// file that it refers to is opened. `imagePath` ends in ".png", ".jpg" or ".jpeg", which
    /// decides the format; the file is replaced atomically, and its directory must exist.
    ///
    /// On failure nothing is returned or written, and a log line gives the reason: no such file,
    /// not a video, damaged before its first frame, or not read within 20 seconds.
    ///
    /// Thread: any; it blocks, usually for a tenth of a second. FFmpeg's own messages to stderr are
    /// switched off for the process, unless the application has set a level for them.
    static std::optional<Frame> capture(const QString &videoPath, const QString &imagePath,
                                        int greatestSide);

    /// Whether the file at `path` is of one of these kinds; only capture() finds out whether it
    /// contains a frame. Otherwise false, with a log line. Reads the beginning of the file.
    static bool isVideoFile(const QString &path);

    VideoCapture() = delete;
};
