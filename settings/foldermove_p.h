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

/// Moves the files of one folder, including sub-folders, from one root directory to the same place
/// below another.
///
/// copy() makes a verified copy of every file, and removeOriginals() deletes the files whose copies
/// are still identical. Either may be interrupted at any point, and both repeated: existing copies
/// are recognised by their content. A file that cannot be moved stays, is reported by problems(),
/// and does not stop the others.
///
/// Regular files are moved, with their times and holes; only the owner can access the copies, and
/// the folders made for them. Links, and their targets, stay where they are, with a log line; at
/// the target nothing is written through a link. If something else has a name there, it is left
/// alone, and the copy gets a number. Records of the files (BaseFile) follow them. Folders that are
/// empty afterwards are removed, except the outermost one.
class FolderMove
{
public:
    /// The worst that occurred. InUse: some files are being written, and are left for a later call.
    /// NotStored is for callers that cannot store their progress.
    enum Result { Done, InUse, Failed, NoSpace, NotStored, Cancelled };

    /// Why a file stays where it is. Never stored.
    enum Cause {
        BeingWritten, ///< or keeps changing
        Unreadable,   ///< the file, or the folder with its contents
        NotWritable,  ///< the target cannot be written to
        InTheWay,     ///< Problem::obstacle is in the way
        NotRemovable, ///< it has been copied, but cannot be deleted
    };
    struct Problem {
        QString path; ///< of the file or folder, absolute
        Cause cause;
        QString obstacle; ///< what is in the way at the target, absolute
    };

    /// What to move; paths end in a separator.
    struct Task {
        QString sourceRoot;
        QString targetRoot;
        QString folder;  ///< below the roots
        QString scratch; ///< path of the file being written, on the target's file system
        /// Names of files and folders below the folder that are to stay; an empty one for all.
        QStringList skipped;
    };
    /// Reports bytes as processed, or a negative number for bytes to be processed again. False:
    /// stop.
    using Advance = std::function<bool(qint64 bytes)>;

    FolderMove(const Task &task, Advance advance);

    /// Bytes in the regular files of a folder below `root`, excluding linked files and folders that
    /// cannot be read.
    static qint64 size(const QString &root, const QString &folder);
    /// Moves a folder below `root` into the folder `place` under a meaningless name, and removes
    /// parent folders that are empty then. Linked folders stay. False when it fails.
    static bool moveAway(const QString &root, const QString &folder, const QString &place);

    /// Done or InUse: everything that could be copied is on the disk. Otherwise the reason has been
    /// logged.
    Result copy();
    /// Call it after copy(). False when there is more to copy: files that have changed or arrived
    /// since.
    bool removeOriginals();
    /// Of both steps. Includes files in use.
    const QList<Problem> &problems() const { return m_problems; }
    /// The name of the problem's file for Task::skipped; empty for the folder itself.
    QString nameOf(const Problem &problem) const;
    Result worst() const { return m_worst; }
    /// The names, below the folder, of copied files whose names were taken, each with the name of
    /// its copy.
    QList<std::pair<QString, QString>> renamed() const;
    /// Absolute paths of the copies whose originals the last removeOriginals() deleted.
    const QStringList &moved() const { return m_moved; }
    bool hasCopies() const { return !m_copies.isEmpty(); }

private:
    /// Identifies a version of a file.
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
        bool isOurs;               // made by this object
        bool isFresh;              // changed so recently that the stamp may miss a change
    };
    struct Listing;

    static std::optional<Stamp> stampOf(const QString &path);
    static bool isFresh(const Stamp &stamp);
    static Listing list(const QString &root, const QString &folder, const QStringList &skipped);

    Result copyFile(const QString &name);
    /// Nothing when the file must be looked at again: it changes or was deleted, or its name is
    /// taken.
    std::optional<Result> copyContent(const QString &from, const QString &to, const Stamp &stamp);
    bool removeOriginal(const Copy &copy);
    bool isInUse(const QString &path) const;
    /// Makes the folder for the copy of the file `from`.
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
    QString m_madeFolder; // the last one made
    QList<Copy> m_copies;
    QList<Problem> m_problems;
    QStringList m_moved;
    Result m_worst = Done;
    QByteArray m_buffer;
    QByteArray m_otherBuffer;
};
