#pragma once

#include <QString>

/// The folders that hold media, below an account's base folder: one for the source, and inside it
/// one for the file type. ModelBaseUtil is the public interface.
namespace MediaFolders
{

/// Empty for file types that have no folder.
QString ofFileType(int fileType);
/// Empty for sources that have no folder; ordinary chat media lie directly below the base.
QString ofSource(int sourceType);
/// `base` with the two folders appended, each followed by a separator.
QString path(const QString &base, int sourceType, int fileType);

} // namespace MediaFolders
