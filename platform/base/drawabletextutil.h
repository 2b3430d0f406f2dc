#pragma once

#include "base/base_export.h"

#include <QStringView>

/// Emoji in texts, by Unicode's own rules (UTS #51, UAX #29). Reentrant.
class MODELBASE_BASE_EXPORT DrawableTextUtil
{
public:
    /// The number of emoji when `text` consists of emoji only, else 0. A sequence shown as one
    /// picture counts once: skin tones, flags, keycaps, families. A text of more than `limit` emoji
    /// counts as ordinary text and gives 0.
    ///
    /// Counted as displayed:
    /// - A character that is text by default is an emoji only if the emoji selector (U+FE0F)
    ///   follows; one with the text selector (U+FE0E) never is. Inside a keycap, a skin-toned or a
    ///   joined sequence the emoji selector may be missing.
    /// - Joined emoji that are not a sequence recommended for interchange (RGI) are separate
    ///   pictures, and count one by one; so does a skin tone after a character that it cannot
    ///   colour.
    /// - Regional indicators that are not a region's flag are letters, and make the text ordinary.
    ///
    /// Linear in the length of an emoji text; returns at the first character of an ordinary one.
    /// Allocates nothing.
    static int emojiCount(QStringView text, int limit);
};
