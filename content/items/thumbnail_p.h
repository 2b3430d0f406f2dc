#pragma once

#include "content/items/fileitem.h"

#include <QSize>

#include <optional>

/// An image made from a file, to be shown in its place.
struct FileItem::Thumbnail {
    /// What the file is.
    enum Kind { Picture, Video, Music };

    QString path;        ///< of the image file; its longer side has at most 640 pixels
    QSize size;          ///< of that image
    QByteArray preview;  ///< a JPEG image small enough to travel within a message
    QSize natural;       ///< of the picture or the video's frame itself, as far as known
    qint64 duration = 0; ///< of a video in milliseconds; 0 when unknown

    /// Makes the image in `directory`, which is made when missing. Blocks. Nothing, with a log
    /// line, when the file cannot be read as what it is said to be.
    static std::optional<Thumbnail> make(const QString &file, Kind kind, const QString &directory);
};

/// The size of a picture as it is shown, turned upright; empty, without a log line, when the file
/// is none that can be read. Reads the header only.
QSize pictureSize(const QString &file);
