#include "search/searchmatch.h"

#include "search/searchkey.h"
#include "search/searchtext_p.h"

#include <algorithm>
#include <vector>

namespace
{

using Tokens = std::vector<SearchText::Token>;

/// Whether a syllable begins with what may be a part of one: "하" and "ㅎ" begin "한".
bool beginsSyllable(char32_t part, char32_t syllable)
{
    constexpr char32_t first = 0xAC00;
    constexpr char32_t last = 0xD7A3;
    constexpr char32_t firstInitial = 0x1100;
    constexpr char32_t finals = 28; // for each vowel, the first of them none
    constexpr char32_t vowels = 21;
    if (part == syllable || syllable < first || syllable > last)
        return part == syllable;
    const char32_t index = syllable - first;
    if (part >= first && part <= last)
        return (part - first) % finals == 0 && (part - first) / finals == index / finals;
    return part == firstInitial + index / (finals * vowels);
}

/// A term of a key beside the text that it is looked for in.
class Comparison
{
public:
    Comparison(const SearchText &key, const SearchText &text)
        : m_key(key), m_text(text), m_keyTokens(key.tokens.empty() ? key.symbols : key.tokens),
          m_tokens(key.tokens.empty() ? text.symbols : text.tokens)
    {
    }

    /// All places of the term, as ranges of the source.
    std::vector<SearchRange> places() const
    {
        std::vector<SearchRange> found;
        for (std::size_t token = 0; token + m_keyTokens.size() <= m_tokens.size(); ++token) {
            const bool isInside = m_tokens[token].kind == SearchText::Run
                || m_tokens[token].kind == SearchText::Hangul;
            const int last = isInside ? m_tokens[token].to - 1 : m_tokens[token].from;
            for (int from = m_tokens[token].from; from <= last; ++from)
                addPlace(&found, token, from);
        }
        return found;
    }

private:
    void addPlace(std::vector<SearchRange> *found, std::size_t token, int from) const
    {
        std::vector<SearchRange> ranges;
        for (std::size_t i = 0; i < m_keyTokens.size(); ++i) {
            const bool isLast = i + 1 == m_keyTokens.size();
            const int begin = i == 0 ? from : m_tokens[token + i].from;
            if (!matches(m_keyTokens[i], m_tokens[token + i], begin, isLast))
                return;
            const int end = begin + m_keyTokens[i].to - m_keyTokens[i].from;
            const auto &head = m_text.characters[std::size_t(begin)];
            const auto &tail = m_text.characters[std::size_t(end) - 1];
            const bool isApart = i > 0 && begin != m_tokens[token + i - 1].to;
            if (isApart && m_keyTokens[i].kind == SearchText::Symbol)
                return;
            ranges.push_back({head.from, tail.to - head.from});
        }
        found->insert(found->end(), ranges.begin(), ranges.end());
    }

    bool matches(const SearchText::Token &key, const SearchText::Token &token, int begin,
                 bool isLast) const
    {
        const int length = key.to - key.from;
        const bool isWhole = !isLast || token.kind == SearchText::Emoji;
        if (key.kind != token.kind
            || (isWhole ? token.to - begin != length : token.to - begin < length))
            return false;
        const bool isAtBeginning = begin == token.from;
        for (int i = 0; i < length; ++i) {
            const char32_t wanted = m_key.characters[std::size_t(key.from + i)].code;
            const char32_t present = m_text.characters[std::size_t(begin + i)].code;
            const bool mayBegin =
                token.kind == SearchText::Hangul && isLast && isAtBeginning && i + 1 == length;
            if (mayBegin ? !beginsSyllable(wanted, present) : wanted != present)
                return false;
        }
        return true;
    }

    const SearchText &m_key;
    const SearchText &m_text;
    const Tokens &m_keyTokens;
    const Tokens &m_tokens;
};

/// In order, and those that touch as one.
QList<SearchRange> joined(std::vector<SearchRange> ranges)
{
    std::sort(ranges.begin(), ranges.end(), [](const SearchRange &a, const SearchRange &b) {
        return std::pair(a.from, a.length) < std::pair(b.from, b.length);
    });
    QList<SearchRange> result;
    for (const SearchRange &range : ranges) {
        if (result.isEmpty() || range.from > result.last().from + result.last().length)
            result.append(range);
        else
            result.last().length =
                std::max(result.last().length, range.from + range.length - result.last().from);
    }
    return result;
}

} // namespace

std::optional<QList<SearchRange>> searchMatch(const SearchKey &key, const QString &text)
{
    const SearchText present(text);
    std::vector<SearchRange> all;
    for (const SearchKey::Term &term : key.terms()) {
        const SearchText wanted(term.text);
        if (wanted.tokens.empty() && wanted.symbols.empty())
            continue; // folded away: looks for nothing
        const std::vector<SearchRange> places = Comparison(wanted, present).places();
        if (places.empty() != term.isExcluded)
            return std::nullopt;
        all.insert(all.end(), places.begin(), places.end());
    }
    return joined(std::move(all));
}
