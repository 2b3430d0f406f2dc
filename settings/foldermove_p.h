#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QList>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <functional>
#include <optional>
#include <utility>

/// Carries the files of one folder, sub-folders included, from below one directory to the same
/// place below another.
///
/// copy() gives every file a copy that has been compared with it, and removeOriginals() deletes the
/// files whose copies still stand for them. Either may be interrupted at any point, and both done
/// anew: what is there already is recognised by its content. A file that cannot be carried stays,
/// is told by problems(), and stops none of the others.
///
/// Regular files are moved, with their times and holes; the copies, and the folders made for them,
/// are their owner's alone. Links, and what lies behind them, stay where they are, with a log line;
/// at the target nothing is written through a link. A name that is taken there by something else is
/// left alone: the copy gets a number. Records of the files (BaseFile) follow them. Folders that
/// are empty afterwards are removed, but for the outermost one.
class FolderMove
{
public:
    /// Whichever is the worst. InUse: some files are being written, and are left for another time.
    /// NotStored is for callers that cannot store how far they are.
    enum Result { Done, InUse, Failed, NoSpace, NotStored, Cancelled };

    /// Why a file stays where it is. Stored nowhere.
    enum Cause {
        BeingWritten, ///< or it keeps changing
        Unreadable,   ///< the file, or the folder and all in it
        NotWritable,  ///< at the target
        InTheWay,     ///< Problem::obstacle is
        NotRemovable, ///< it has been copied
    };
    struct Problem {
        QString path; ///< of the file or folder, absolute
        Cause cause;
        QString obstacle; ///< what is in the way at the target, absolute
    };

    /// What to carry; paths end in a separator.
    struct Task {
        QString sourceRoot;
        QString targetRoot;
        QString folder;  ///< below the roots
        QString scratch; ///< path of the file being written, on the target's file system
        /// Names below the folder of files and folders that are to stay; an empty one for all.
        QStringList skipped;
    };
    /// Takes note of bytes that have been dealt with, a negative number when some are to be dealt
    /// with anew. False: stop.
    using Advance = std::function<bool(qint64 bytes)>;

    FolderMove(const Task &task, Advance advance);

    /// Bytes in the regular files of a folder below `root`, without what lies behind links and in
    /// folders that cannot be read.
    static qint64 size(const QString &root, const QString &folder);
    /// Makes a folder below `root` one without a meaning in the folder `place`, and removes those
    /// around it that are empty then. What lies behind a link stays. False when it cannot be done.
    static bool moveAway(const QString &root, const QString &folder, const QString &place);

    /// Done or InUse: what could be copied is on the disk. Otherwise the reason has been logged.
    Result copy();
    /// After copy(). False when there is something to be copied again: files that have changed or
    /// come since.
    bool removeOriginals();
    /// Of both. A file in use is named, too.
    const QList<Problem> &problems() const { return m_problems; }
    /// The name that Task::skipped has for it; empty for the folder itself.
    QString nameOf(const Problem &problem) const;
    Result worst() const { return m_worst; }
    /// The names below the folder, of the files copied whose names were taken, and those of the
    /// copies.
    QList<std::pair<QString, QString>> renamed() const;
    /// Absolute paths of the copies that the last removeOriginals() has left alone in the world.
    const QStringList &moved() const { return m_moved; }
    bool hasCopies() const { return !m_copies.isEmpty(); }

private:
    /// What tells that a file has not changed.
    struct Stamp {
        qint64 size;
        std::filesystem::file_time_type modified;
        bool operator==(const Stamp &) const = default;
    };
    struct Copy {
        QString name; // below the folder
        Stamp original;
        QString path;              // of the copy
        std::optional<Stamp> made; // of the copy
        bool isOurs;               // the copy was made here
        bool isFresh;              // changed so lately that a change may not show in the stamp
    };
    struct Listing;

    static std::optional<Stamp> stampOf(const QString &path);
    static bool isFresh(const Stamp &stamp);
    static Listing list(const QString &root, const QString &folder, const QStringList &skipped);

    Result copyFile(const QString &name);
    /// Nothing when the file is to be looked at again: it changes or is gone, or its name is taken.
    std::optional<Result> copyContent(const QString &from, const QString &to, const Stamp &stamp);
    bool removeOriginal(const Copy &copy);
    bool isInUse(const QString &path) const;
    /// For the file `from`.
    Result makeFolder(const QString &folder, const QString &from);
    void removeEmptyFolders();
    bool hasSameContent(const QString &left, const QString &right);
    bool hasSameContent(QIODevice &left, QIODevice &right);
    Result note(const QString &path, Cause cause, const QString &reason = {},
                const QString &obstacle = {});
    void log(const char *problem, const QString &reason = {}) const;

    // Absolute, with "/" between and at the end.
    const QString m_sourceRoot;
    const QString m_targetRoot;
    const QString m_source;
    const QString m_target;
    const QString m_scratch;
    const QStringList m_skipped;
    const Advance m_advance;
    QString m_madeFolder; // the last one
    QList<Copy> m_copies;
    QList<Problem> m_problems;
    QStringList m_moved;
    Result m_worst = Done;
    QByteArray m_buffer;
    QByteArray m_otherBuffer;
};
