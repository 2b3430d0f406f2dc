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
        QSize natural;       ///< the same, were it as large as the video's own pixels
        qint64 duration = 0; ///< of the video, in milliseconds; 0 when it does not tell
    };

    /// Stores the first frame of the video at `videoPath` as the image file `imagePath`, and returns
    /// when that is done. The image is upright and in proportion, as a player shows it; its longer
    /// side has `greatestSide` (1 to 4096) pixels, or that of the video's own pixels when that is
    /// less.
    ///
    /// The video is what its bytes say, whatever its name: MPEG-4, QuickTime, 3GP, Matroska, WebM,
    /// AVI, MPEG, FLV, ASF, RealMedia, Ogg or GIF, of at most 40 million pixels a frame. Nothing
    /// that it refers to is opened. `imagePath` ends in ".png", ".jpg" or ".jpeg", which decides
    /// the format; the file is replaced atomically, its directory has to exist.
    ///
    /// Nothing, with a log line, and nothing written, on failure: no such file, not a video, damaged
    /// before its first frame, or not read within 20 seconds.
    ///
    /// Thread: any; it blocks, for a tenth of a second as a rule. FFmpeg's own messages to stderr are
    /// switched off for the process, unless the application has chosen a level for them.
    static std::optional<Frame> capture(const QString &videoPath, const QString &imagePath,
                                        int greatestSide);

    /// Whether the file at `path` is of one of these kinds; whether there is a frame in it, only
    /// capture() tells. False, with a log line, otherwise. Reads the beginning of the file.
    static bool isVideoFile(const QString &path);

    VideoCapture() = delete;
};
