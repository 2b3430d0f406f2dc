#pragma once

#include <QString>

#include <stdexcept>

/// An error in a conversation, for its author.
struct RecorderError : std::runtime_error {
    explicit RecorderError(const QString &text) : std::runtime_error(text.toStdString()) { }
};
