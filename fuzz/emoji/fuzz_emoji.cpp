// Emoji counting: any sequence of code units.

#include "base/drawabletextutil.h"
#include "base/util.h"
#include "support/fuzzing.h"

using fuzzing::check;

void fuzzOne(QByteArrayView input)
{
    const QString text = fuzzing::text(input);
    const int count = DrawableTextUtil::emojiCount(text, int(text.size()));
    check(count >= 0 && count <= text.size(), "no more emoji than code units");
    check(!Util::isEmojiGame(text) || count == 1, "a game is one emoji");
    if (count == 0)
        return;
    check(DrawableTextUtil::emojiCount(text, count) == count, "the limit itself is allowed");
    check(DrawableTextUtil::emojiCount(text, count - 1) == 0, "more than the limit is no count");
    check(DrawableTextUtil::emojiCount(text + u'a', int(text.size())) == 0,
          "a letter makes an ordinary text");
}
