#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QList>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <functional>
#include <optional>

/// Carries the files of one folder, sub-folders included, from below one directory to the same
/// place below another.
///
/// copy() gives every file a copy that has been compared with it, and removeOriginals() deletes the
/// files whose copies still stand for them. Either may be interrupted at any point, and both done
/// anew: what is there already is recognised by its content.
///
/// Regular files are moved, with their times and permissions. Links, and what lies behind them,
/// stay where they are, with a log line; at the target nothing is written through a link. A name
/// that is taken there by something else is left alone: the copy gets a number.
class FolderMove
{
public:
    enum Result { Done, Cancelled, NoSpace, Failed };

    /// What to carry; paths end in a separator.
    struct Task {
        QString sourceRoot;
        QString targetRoot;
        QString folder;  ///< below the roots
        QString scratch; ///< path of the file being written, on the target's file system
    };
    /// Takes note of bytes that have been dealt with, a negative number when some are to be dealt
    /// with anew. False: stop.
    using Advance = std::function<bool(qint64 bytes)>;

    FolderMove(const Task &task, Advance advance);

    /// Bytes in the regular files of a folder below `root`, without what lies behind links.
    static qint64 size(const QString &root, const QString &folder);

    /// Done: the copies are on the disk. Otherwise the reason has been logged.
    Result copy();
    /// After copy(). False when there is something to be copied again: files that have changed or
    /// come since.
    bool removeOriginals();

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
        std::optional<Stamp> made; // of the copy, if it was made here
    };

    static std::optional<Stamp> stampOf(const QString &path);
    /// The names of the files that are still there.
    QStringList files(bool logLinks) const;

    Result copyFile(const QString &name);
    /// Nothing when the file is to be looked at again: it changes or is gone, or its name is taken.
    std::optional<Result> copyContent(const QString &from, const QString &to, const Stamp &stamp);
    bool makeFolder(const QString &folder);
    void removeEmptyFolders();
    bool hasSameContent(const QString &left, const QString &right);
    bool hasSameContent(QIODevice &left, QIODevice &right);
    void log(const char *problem, const QString &reason = {}) const;

    // Absolute, with "/" between and at the end.
    const QString m_sourceRoot;
    const QString m_targetRoot;
    const QString m_source;
    const QString m_target;
    const QString m_scratch;
    const Advance m_advance;
    QString m_madeFolder; // the last one
    QList<Copy> m_copies;
    QByteArray m_buffer;
    QByteArray m_otherBuffer;
};
