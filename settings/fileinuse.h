#pragma once

#include "modelbase_export.h"

#include <QString>

#include <functional>

/// Marks a media file as being written for as long as the object lives: for a download, or a
/// picture that is edited. A data move (AppDataMove) neither copies nor removes the file meanwhile;
/// it tries again later.
///
/// What a writer can rely on:
/// - If it is made before the file is looked up, and kept until the file is closed, the file stays
///   where it was found. It covers the path, and paths that continue it after a dot, such as
///   "film.mp4.part" and QSaveFile's own for "film.mp4".
/// - Without it, a file is still not removed while it is open for writing, on Linux (also in
///   another process) and on Windows; on other systems, only when its size or time has changed. A
///   file that changes while it is copied is not removed either: it is copied again, and the final
///   copy has all that was written.
/// - Writing to a path after its file has been moved creates a new file there. Look the path up
///   (FileData::exists(), AccountBase::userCacheDataPath()) after making the object.
///
/// Thread: any. The constructor may wait while a file is deleted.
class MODELBASE_EXPORT FileInUse
{
public:
    /// @param path absolute
    explicit FileInUse(const QString &path);
    ~FileInUse();

    /// Whether one exists for that file.
    static bool contains(const QString &path);
    /// Calls `work`; no FileInUse can be made meanwhile. False, without a call, when one exists for
    /// the file already.
    static bool unlessUsed(const QString &path, const std::function<void()> &work);

private:
    Q_DISABLE_COPY_MOVE(FileInUse)
    const QString m_path;
};
