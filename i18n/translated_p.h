#pragma once

#include <QString>

/// The text of an id in the application's language. Where nothing translates it, the library's
/// English stands in, with or without an application object: nobody ever reads an id.
///
/// Callers write the id as QT_TRID_NOOP("id") below a line `//% "English text"`, by which lupdate
/// finds both. With a count, the text speaks of so many things ("%n") and has the plural forms of
/// its language; then it is QT_TRID_N_NOOP("id").
///
/// Thread: any.
QString translated(const char *id, int count = -1);
