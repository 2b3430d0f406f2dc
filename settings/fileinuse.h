#pragma once

#include "modelbase_export.h"

#include <QString>

#include <functional>

/// Says that a media file is being written, for as long as the object lives: a download, a picture
/// that is edited. A data move (AppDataMove) neither copies nor removes the file meanwhile; it
/// comes for it later.
///
/// What a writer can rely on:
/// - Made before the file is looked for, and held until it is closed, this keeps the file where it
///   was found. It counts for the path and for those that go on with a dot behind it, as
///   "film.mp4.part" and QSaveFile's own do behind "film.mp4".
/// - Without it, a file is still not removed while it is open for writing, on Linux (there also in
///   another process) and on Windows; on other systems, only when its size or time has changed.
///   Nor is one that changes while it is copied: it is copied anew, and the copy that is kept has
///   all that was written.
/// - What is written to a path after its file has been moved makes a file of its own there. Ask for
///   the path anew (FileData::exists(), AccountBase::userCacheDataPath()) once the object is made.
///
/// Thread: any. Making one may wait for as long as it takes to delete a file.
class MODELBASE_EXPORT FileInUse
{
public:
    /// @param path absolute
    explicit FileInUse(const QString &path);
    ~FileInUse();

    /// Whether there is one for that file.
    static bool contains(const QString &path);
    /// Calls `work`, which no FileInUse can be made beside; false when there is one for the file
    /// already, and nothing is called.
    static bool unlessUsed(const QString &path, const std::function<void()> &work);

private:
    Q_DISABLE_COPY_MOVE(FileInUse)
    const QString m_path;
};
