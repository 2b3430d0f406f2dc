#pragma once

#include <QString>

// Texts of all scripts in the columns of a terminal, where ideographs and emoji take two.

/// `text` cut between two visible characters to at most `columns`, with an ellipsis if something is
/// missing. Control characters are replaced.
QString shortened(const QString &text, int columns);
/// `text` shortened or filled up with blanks to exactly `columns`.
QString padded(const QString &text, int columns);
/// `text` broken at blanks into lines of at most `columns`, those after the first one indented.
QString wrapped(const QString &text, int columns, int indent);
