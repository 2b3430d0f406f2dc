#pragma once

#include "modelbase_export.h"

#include <QList>
#include <QString>

#include <optional>

struct SearchKey;

/// A part of a text to highlight, in UTF-16 units.
struct SearchRange {
    qsizetype from;
    qsizetype length;

    bool operator==(const SearchRange &other) const = default;
};

/// Whether a text is one that a key looks for, and where: nothing if it is not, otherwise the parts
/// that match, in order, without overlaps. Filters are not looked at. This is the rule that every
/// search of the library keeps to.
///
/// - Case, width, accents and other marks of Latin, Greek, Cyrillic, Hebrew and Arabic, letter forms
///   and the skin tone of emoji do not matter, nor what stands between words.
/// - A word matches by its beginning. Where a script has no spaces (Han, kana, Thai, Lao, Khmer,
///   Burmese), any run of characters matches; Hangul by its beginning, and by whole syllables inside.
/// - Links, addresses, file names and ids are words too: each of their parts matches, and several as
///   they follow each other. So does a phrase; its last word matches by its beginning.
/// - A term of symbols alone matches the same symbols. A key without terms matches any text.
/// - A part that matches ends with its grapheme cluster (UAX #29).
///
/// Thread: any.
MODELBASE_EXPORT std::optional<QList<SearchRange>> searchMatch(const SearchKey &key,
                                                               const QString &text);
