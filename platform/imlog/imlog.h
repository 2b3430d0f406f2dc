#pragma once

#include "imlog/imlog_export.h"

#include <QString>

#include <memory>

/// The application's log: notable steps and failures, in rotating text files.
///
/// Thread: every member may be called from any thread; writing happens on a thread of its own, so a
/// caller never waits for the disk. The log never fails its caller: when no file can be written,
/// the lines go to the Qt debug log only.
///
/// What must not be written here: key bytes, message text, passwords, phone numbers.
class IMLOG_EXPORT ImLog
{
public:
    /// The process-wide log. Its file, "log/im.log" below the application data directory, is opened
    /// by the first line.
    static ImLog *instance();

    static void info(const QString &text);
    static void error(const QString &text);

    /// The directory the files are written to.
    QString directory() const;
    /// Closes the current file and goes on in `directory`. False when it cannot be written to; the
    /// log then stays where it was.
    bool setDirectory(const QString &directory);

    /// Returns when everything logged before is in the file.
    void flush();

private:
    ImLog();
    ~ImLog();
    Q_DISABLE_COPY_MOVE(ImLog)

    class Private;
    std::unique_ptr<Private> d;
};
