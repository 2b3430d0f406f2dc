#pragma once

#include <QByteArrayView>
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

} // namespace fuzzing
