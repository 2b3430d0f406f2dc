#pragma once

#include <QString>

/// A line of a conversation that is read word by word. Every function throws a RecorderError that
/// says that `what` is missing or wrong.
class Words
{
public:
    explicit Words(const QString &text) : m_text(text.trimmed()) { }

    QString next(const char *what);
    int number(const char *what);
    double real(const char *what);
    /// Reads "2.6s", rounded to whole seconds.
    int seconds(const char *what);
    /// Removes the next word if it is this one.
    bool takeIf(const char *word);
    /// Removes and returns the text before `mark`, or all; removes the mark, too.
    QString until(QChar mark);
    QString rest();
    void expectEnd() const;

private:
    QString m_text;
};
