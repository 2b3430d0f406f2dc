#include "search/searchkey.h"

#include <algorithm>

namespace
{

/// A key takes time for each of its terms, in each text.
constexpr qsizetype mostTerms = 100;

bool isQuote(QChar c)
{
    return QStringView(u"\"“”„«»").contains(c);
}

/// The place of the quote that ends the phrase which begins here; -1 if there is none.
qsizetype closingQuote(QStringView text, qsizetype begin)
{
    for (qsizetype at = begin; at < text.size(); ++at) {
        // Inside a word it is a letter, as the Hebrew sign of abbreviation.
        if (isQuote(text[at]) && (at + 1 == text.size() || text[at + 1].isSpace()))
            return at;
    }
    return -1;
}

qsizetype endOfWord(QStringView text, qsizetype begin)
{
    return std::find_if(text.begin() + begin, text.end(), [](QChar c) { return c.isSpace(); })
        - text.begin();
}

} // namespace

QList<SearchKey::Term> SearchKey::terms() const
{
    QList<Term> terms;
    const QStringView typed(text);
    qsizetype unclosed = typed.size(); // from here on, no phrase is closed
    for (qsizetype at = 0; at < typed.size() && terms.size() < mostTerms;) {
        if (typed[at].isSpace()) {
            ++at;
            continue;
        }
        const qsizetype wordEnd = endOfWord(typed, at);
        const bool isExcluded = typed[at] == u'-' && wordEnd - at > 1;
        const qsizetype begin = isExcluded ? at + 1 : at;
        qsizetype closing = -1;
        if (isQuote(typed[begin]) && begin < unclosed) {
            closing = closingQuote(typed, begin + 1);
            if (closing < 0)
                unclosed = begin;
        }
        const bool isPhrase =
            closing > 0 && !typed.sliced(begin + 1, closing - begin - 1).trimmed().isEmpty();
        at = isPhrase ? closing + 1 : wordEnd;
        const QStringView term = isPhrase ? typed.sliced(begin + 1, closing - begin - 1)
                                          : typed.sliced(begin, wordEnd - begin);
        const Term next{term.toString(), isExcluded};
        if (!terms.contains(next))
            terms.append(next);
    }
    return terms;
}

bool SearchKey::isEmpty() const
{
    SearchKey bare;
    bare.text = text;
    return text.trimmed().isEmpty() && *this == bare;
}
