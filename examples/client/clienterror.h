#pragma once

#include <QString>

#include <stdexcept>

enum ExitCode {
    Success = 0,
    WrongUsage = 1,
    BadFeed = 2,
    BadData = 3,     ///< the data directory, or a store in it
    SizesDiffer = 4, ///< the sizes of kept messages have changed
};

/// Ends the program early: a text that tells the user what to do, and the exit code.
struct ClientError : std::runtime_error {
    ClientError(ExitCode code, const QString &text)
        : std::runtime_error(text.toStdString()), exitCode(code)
    {
    }
    ExitCode exitCode;
};
