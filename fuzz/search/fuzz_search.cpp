// Keys and the texts that they look for: what matches lies inside the text, in order; a text
// matches its own words, and more text hides nothing.

#include "search/searchkey.h"
#include "search/searchmatch.h"
#include "support/fuzzing.h"

using fuzzing::check;

namespace
{

SearchKey keyOf(const QString &text)
{
    SearchKey key;
    key.text = text;
    return key;
}

void checkRanges(const QList<SearchRange> &ranges, const QString &text)
{
    qsizetype end = -1;
    for (const SearchRange &range : ranges) {
        check(range.from > end && range.length > 0, "ranges are in order, and apart");
        end = range.from + range.length;
        check(end <= text.size(), "ranges are inside the text");
    }
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    fuzzing::Pieces pieces(input);
    const QString typed = fuzzing::text(pieces.bytes(pieces.number(0, 255)));
    const QString text = fuzzing::text(pieces.rest());
    const SearchKey key = keyOf(typed);
    const auto ranges = searchMatch(key, text);
    if (ranges)
        checkRanges(*ranges, text);
    bool hasExcluded = false;
    for (const SearchKey::Term &term : key.terms()) {
        check(!term.text.isEmpty(), "no term is empty");
        hasExcluded |= term.isExcluded;
    }
    check(key.isEmpty() == key.terms().isEmpty(), "only white space has no terms");
    if (ranges && !hasExcluded)
        check(searchMatch(key, text + u' ' + typed).has_value(), "more text hides nothing");

    const QString word = text.section(QChar::Space, 0, 0);
    const bool isPlain =
        !word.startsWith(u'-') && keyOf(word).terms() == QList<SearchKey::Term>{{word, false}};
    check(!isPlain || searchMatch(keyOf(word), text), "a text matches its own words");
}
