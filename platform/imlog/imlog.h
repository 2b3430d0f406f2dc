#pragma once

#include "imlog/imlog_export.h"

#include <QDeadlineTimer>
#include <QString>

#include <memory>

class QLoggingCategory;

/// The application's log: notable steps and failures, in rotating text files.
///
/// Thread: every member may be called from any thread; writing happens on a thread of its own, so a
/// caller never waits for the disk: when that hangs, the oldest of 8192 waiting lines are dropped.
/// From the end of the QCoreApplication (or of main()) on, lines are written before the call
/// returns, so that destructors of static objects may log too; where the disk has not taken what
/// waits by then within 5 seconds, later lines go to the Qt debug log. The log never fails its caller: when
/// no file can be written, the lines go to the Qt debug log ("im.base") instead.
///
/// "im.log" is rotated at 5 MiB to "im.1.log", up to "im.3.log". A line has local time with its
/// offset from UTC, thread, level, and the text in UTF-8. A text may quote what came from outside,
/// and cannot forge a line, control a terminal, or turn what follows around: control characters,
/// line ends, lone surrogates and format characters (those for the direction of text above all) are
/// written as "\n", "\x1b", "\u{202e}", in the files and in the Qt debug log. Of a text longer than
/// 4096 UTF-16 units the beginning is written, and its length. The files are for their owner alone.
///
/// What must not be written here: key bytes, message text, passwords, phone numbers.
class MODELBASE_IMLOG_EXPORT ImLog
{
public:
    /// The process-wide log. Its file, "log/im.log" below the application data directory
    /// (QStandardPaths::AppDataLocation), is opened by the first line: the application has to have
    /// its name by then.
    static ImLog *instance();

    static void info(const QString &text);
    static void error(const QString &text);
    /// The same line to the Qt debug log too, where `category` filters it: as debug and as warning.
    static void info(const QLoggingCategory &category, const QString &text);
    static void error(const QLoggingCategory &category, const QString &text);

    /// For a crash handler, also for a signal's: writes the line to the log's file and to standard
    /// error at once. It takes no lock and allocates nothing; lines that are still waiting come
    /// later or never. The time is in UTC. Before there is a file the line goes to standard error
    /// only.
    static void infoInCrash(const char *line) noexcept;

    /// The directory the files are written to; empty while there is no file.
    QString directory() const;
    /// Closes the current file and goes on in `directory`, which is made when missing. False when it
    /// cannot be written to; the log then stays where it was.
    bool setDirectory(const QString &directory);

    /// Deletes the files, also those of earlier runs, with all that was logged before, and begins a
    /// new one. Waits for the disk for 5 seconds at most. False when a file stays.
    bool removeFiles();

    /// Returns when everything logged before is in the file, or at `deadline` when the disk does not
    /// answer; false then.
    bool flush(QDeadlineTimer deadline = QDeadlineTimer(5000));

private:
    ImLog();
    ~ImLog();
    Q_DISABLE_COPY_MOVE(ImLog)

    class Private;
    std::unique_ptr<Private> d;
};
