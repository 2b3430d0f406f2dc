#pragma once

#include <QByteArrayView>
#include <QDir>
#include <QString>

/// What every fuzz target defines: looks at one input. The application is there (offscreen, with
/// its log silenced); an input that breaks something ends the process.
void fuzzOne(QByteArrayView input);

namespace fuzzing
{

/// Ends the process when `holds` is false, so that the input is kept as a finding. `what` says what
/// should have been true.
void check(bool holds, const char *what);

/// A text of any kind, half surrogate pairs included: the first byte says whether the rest is UTF-8
/// (even) or UTF-16 (odd, little-endian).
QString text(QByteArrayView input);

/// A directory with one file of this name and content, and nothing else. The same one each time.
QDir folderWith(const QString &name, QByteArrayView content);

} // namespace fuzzing
