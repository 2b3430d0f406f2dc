#pragma once

#include "base/base_export.h"

#include <QStringView>

/// Emoji in texts, by Unicode's own rules (UTS #51, UAX #29). Reentrant.
class BASE_EXPORT DrawableTextUtil
{
public:
    /// The number of emoji when `text` consists of emoji only, else 0. A sequence that is shown as
    /// one picture counts once: skin tones, flags, keycaps, families. A text of more than `limit`
    /// emoji counts as ordinary text and gives 0.
    static int emojiCount(QStringView text, int limit);
};
