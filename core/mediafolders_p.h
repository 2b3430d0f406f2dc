#pragma once

#include <QString>

/// The folders that media lie in, below an account's base folder: one for where they come from,
/// and in it one for what they are. ModelBaseUtil is the public face.
namespace MediaFolders
{

/// Empty for types of file that have no folder.
QString ofFileType(int fileType);
/// Empty for sources that have no folder; ordinary chat media (1) lie directly below the base.
QString ofSource(int sourceType);
/// `base` with the two folders added, each followed by a separator.
QString path(const QString &base, int sourceType, int fileType);

} // namespace MediaFolders
