#pragma once

#include "protocol/message_content.pb.h"

#include <QString>

/// The files of a feed's messages. They are in one folder; a file's id contains its name there, so
/// that a player of the feed finds it, as on a server.
class MediaFolder
{
public:
    /// An empty path: there are no files.
    explicit MediaFolder(const QString &path);

    /// The record of a file: its size and checksum, and a key derived from its name. Throws a
    /// RecorderError when there is no such file.
    im::content::FileInfo record(const QString &name) const;
    /// The small image within a message; empty when the folder has none for the file.
    std::string thumbnail(const QString &name) const;

    /// The path of a file by its id; empty for a foreign id.
    QString pathOf(const QString &fileId) const;

private:
    QString m_path; // ends in a separator, or is empty
};
