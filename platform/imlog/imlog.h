#pragma once

#include "imlog/imlog_export.h"

#include <QDeadlineTimer>
#include <QString>

#include <memory>

class QLoggingCategory;

/// The application's log: important steps and failures, in rotating text files.
///
/// Thread: every member may be called from any thread. A separate thread writes, so a caller never
/// waits for the disk; if the disk hangs, the oldest of 8192 waiting lines are dropped. From the
/// end of the QCoreApplication (or of main()) on, lines are written before the call returns, so
/// that destructors of static objects may log too; if the disk does not accept the waiting lines
/// within 5 seconds then, later lines go to the Qt debug log. The log never fails its caller: when
/// no file can be written, the lines go to the Qt debug log ("im.base") instead.
///
/// "im.log" is rotated at 5 MiB to "im.1.log", up to "im.3.log". A line has local time with its
/// offset from UTC, thread, level, and the text in UTF-8. A text may quote outside input, which
/// cannot forge a line, control a terminal, or reverse the following text: control characters, line
/// ends, lone surrogates and format characters (especially those for the direction of text) are
/// written as "\n", "\x1b", "\u{202e}", in the files and in the Qt debug log. A text longer than
/// 4096 UTF-16 units is truncated, with its length added. Only the owner can access the files.
///
/// What must not be written here: key bytes, message text, passwords, phone numbers.
class MODELBASE_IMLOG_EXPORT ImLog
{
public:
    /// The process-wide log. The first line opens its file, "log/im.log" below the application data
    /// directory (QStandardPaths::AppDataLocation), so set the application's name before.
    static ImLog *instance();

    static void info(const QString &text);
    static void error(const QString &text);
    /// Also writes the line to the Qt debug log, filtered by `category`, as debug or as warning.
    static void info(const QLoggingCategory &category, const QString &text);
    static void error(const QLoggingCategory &category, const QString &text);

    /// For a crash handler, also a signal handler: writes the line to the log's file and to
    /// standard error at once. It takes no lock and allocates nothing; waiting lines come later or
    /// never. The time is in UTC. Before there is a file the line goes to standard error only.
    static void infoInCrash(const char *line) noexcept;

    /// The directory of the files; empty while there is no file.
    QString directory() const;
    /// Closes the current file and continues in `directory`, which is created if missing. False
    /// when it cannot be written to; then the log stays where it was.
    bool setDirectory(const QString &directory);

    /// Deletes the files, also those of earlier runs, with all logged lines, and begins a new one.
    /// Waits for the disk for 5 seconds at most. False when a file stays.
    bool removeFiles();

    /// Returns true when everything logged before is in the file, or false at `deadline` if the
    /// disk does not answer.
    bool flush(QDeadlineTimer deadline = QDeadlineTimer(5000));

private:
    ImLog();
    ~ImLog();
    Q_DISABLE_COPY_MOVE(ImLog)

    class Private;
    std::unique_ptr<Private> d;
};
