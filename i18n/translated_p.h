#pragma once

#include <QString>

/// The text of an id in the application's language. If nothing translates it, the library's English
/// is used, with or without an application object: no one ever sees an id.
///
/// Callers write the id as QT_TRID_NOOP("id") below a line `//% "English text"`, by which lupdate
/// finds both. With a count, the text is about that many things ("%n") and has the plural forms of
/// its language; then it is QT_TRID_N_NOOP("id").
///
/// Thread: any.
QString translated(const char *id, int count = -1);
