#pragma once

#include "base/base_export.h"

#include <QString>

/// The text of an id-based translation (qtTrId) in the application's language; where none is loaded
/// for it, `english` (UTF-8) stands in, so that nobody ever reads an id. Callers write the id as
/// QT_TRID_NOOP("id"), by which lupdate finds it.
BASE_EXPORT QString translated(const char *id, const char *english);
/// The same for a number of things, which the text has as "%n": a translation has the plural forms
/// of its language, English the two given. The id is written as QT_TRID_N_NOOP("id").
BASE_EXPORT QString translated(const char *id, const char *one, const char *many, int count);
