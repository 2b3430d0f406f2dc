#pragma once

#include <QString>

#include <stdexcept>

/// What is wrong with a conversation, for the person who writes it.
struct RecorderError : std::runtime_error {
    explicit RecorderError(const QString &text) : std::runtime_error(text.toStdString()) { }
};
