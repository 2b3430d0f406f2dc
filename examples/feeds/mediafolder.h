#pragma once

#include "protocol/message_content.pb.h"

#include <QString>

/// The files that messages of a feed carry. They lie in one folder; a file's id tells its name
/// there, so that who plays a feed finds them, as a server would.
class MediaFolder
{
public:
    /// An empty path: there are no files.
    explicit MediaFolder(const QString &path);

    /// The record of a file: its size and checksum, and a key that follows from its name. Throws a
    /// RecorderError when there is no such file.
    im::content::FileInfo record(const QString &name) const;
    /// The small image that travels within a message; empty when the folder has none for the file.
    std::string thumbnail(const QString &name) const;

    /// Where a file lies that a message refers to by its id; empty for an id that is none of ours.
    QString pathOf(const QString &fileId) const;

private:
    QString m_path; // ends in a separator; or empty
};
