#pragma once

#include <QString>

/// Where the file lies that was stored, or recorded, as `path`: there, or where moves of the media
/// have brought it. Of a media file ("<account>/<media folder>/..." below whatever directory, also
/// one of another device) the directories in use and before the last move are looked into, then the
/// others that media have been in. Empty when it is nowhere. Looks at the disk once for a file that
/// is in its place and was not renamed.
QString findMediaFile(const QString &path);
