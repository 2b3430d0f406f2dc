#pragma once

#include "base/base_export.h"

#include <QStringView>

/// Emoji in texts, by Unicode's own rules (UTS #51, UAX #29). Reentrant.
class MODELBASE_BASE_EXPORT DrawableTextUtil
{
public:
    /// The number of emoji when `text` consists of emoji only, else 0. A sequence that is shown as
    /// one picture counts once: skin tones, flags, keycaps, families. A text of more than `limit`
    /// emoji counts as ordinary text and gives 0.
    ///
    /// What counts is what is shown:
    /// - A character that is text by default is an emoji only with the emoji selector (U+FE0F)
    ///   behind it; one with the text selector (U+FE0E) never is. Inside a keycap, a skin-toned or
    ///   a joined sequence the emoji selector may be missing.
    /// - Joined emoji that are no sequence recommended for interchange (RGI) fall apart into
    ///   pictures, which count one by one; so does a skin tone behind what it cannot colour.
    /// - Regional indicators that are no region's flag are letters, so the text is an ordinary one.
    ///
    /// Linear in the length of an emoji text; refuses an ordinary one at its first character.
    /// Allocates nothing.
    static int emojiCount(QStringView text, int limit);
};
