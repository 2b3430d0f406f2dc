#include "search/searchtext_p.h"

#include <QList>

#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/uscript.h>

#include <algorithm>
#include <array>
#include <memory>

namespace
{

struct Mapped {
    char32_t from;
    const char16_t *to;
};

/// Letters that Unicode does not decompose, but that people type as these.
constexpr std::array mapped{
    Mapped{U'æ', u"ae"}, Mapped{U'ð', u"d"}, Mapped{U'ø', u"o"}, Mapped{U'đ', u"d"},
    Mapped{U'ħ', u"h"},  Mapped{U'ı', u"i"}, Mapped{U'ł', u"l"}, Mapped{U'œ', u"oe"},
    Mapped{U'ŧ', u"t"},  Mapped{U'ة', u"ه"}, Mapped{U'ـ', u""},  Mapped{U'ى', u"ي"},
    Mapped{U'ٱ', u"ا"},  Mapped{U'ک', u"ك"}, Mapped{U'ہ', u"ه"}, Mapped{U'ی', u"ي"},
};

bool isSkinTone(char32_t c)
{
    return c >= 0x1F3FB && c <= 0x1F3FF;
}

/// Ends words, but not runs: there, whoever types does not see it.
bool isZeroWidth(QChar c)
{
    constexpr char16_t zeroWidthSpace = 0x200B;
    return c == zeroWidthSpace;
}

bool isSpace(QChar c)
{
    return c.isSpace() || isZeroWidth(c);
}

bool isEmoji(const QString &cluster)
{
    constexpr char16_t keycap = 0x20E3;
    if (cluster.isEmpty())
        return false;
    const QList<uint> codes = cluster.toUcs4();
    return u_hasBinaryProperty(UChar32(codes.first()), UCHAR_EXTENDED_PICTOGRAPHIC)
        || u_hasBinaryProperty(UChar32(codes.first()), UCHAR_REGIONAL_INDICATOR)
        || cluster.contains(QChar(keycap));
}

QString normalized(const UNormalizer2 *form, const QString &text)
{
    UErrorCode error = U_ZERO_ERROR;
    // Of one code point, a normal form has at most 18.
    QString result(text.size() * 18, Qt::Uninitialized);
    const int length =
        unorm2_normalize(form, reinterpret_cast<const UChar *>(text.utf16()), int(text.size()),
                         reinterpret_cast<UChar *>(result.data()), int(result.size()), &error);
    if (U_FAILURE(error))
        return text;
    result.truncate(length);
    return result;
}

/// Whether the marks on letters of this script do not matter.
bool dropsMarks(UScriptCode script)
{
    constexpr std::array scripts{USCRIPT_COMMON,   USCRIPT_INHERITED, USCRIPT_LATIN, USCRIPT_GREEK,
                                 USCRIPT_CYRILLIC, USCRIPT_HEBREW,    USCRIPT_ARABIC};
    return std::find(scripts.begin(), scripts.end(), script) != scripts.end();
}

UScriptCode scriptOf(char32_t c)
{
    UErrorCode error = U_ZERO_ERROR;
    return uscript_getScript(UChar32(c), &error);
}

QString folded(const QString &cluster)
{
    UErrorCode error = U_ZERO_ERROR;
    const UNormalizer2 *caseFolding = unorm2_getNFKCCasefoldInstance(&error);
    const UNormalizer2 *decomposed = unorm2_getNFDInstance(&error);
    const UNormalizer2 *composed = unorm2_getNFCInstance(&error);
    QString result;
    UScriptCode base = USCRIPT_COMMON;
    const QList<uint> codes = normalized(decomposed, normalized(caseFolding, cluster)).toUcs4();
    for (const uint code : codes) {
        const bool isMark =
            (U_MASK(u_charType(UChar32(code))) & (U_GC_MN_MASK | U_GC_ME_MASK)) != 0;
        if (isMark && dropsMarks(base))
            continue;
        if (!isMark)
            base = scriptOf(code);
        const auto other = std::find_if(mapped.begin(), mapped.end(),
                                        [&](const Mapped &each) { return each.from == code; });
        const int digit = u_charDigitValue(UChar32(code));
        if (other != mapped.end())
            result += QStringView(other->to);
        else if (digit >= 0)
            result += QChar(u'0' + digit);
        else
            result += QStringView(QChar::fromUcs4(code));
    }
    return normalized(composed, result);
}

SearchText::Kind kindOf(char32_t c)
{
    constexpr auto letters = U_GC_L_MASK | U_GC_N_MASK | U_GC_M_MASK;
    if (!(U_MASK(u_charType(UChar32(c))) & letters))
        return SearchText::Symbol;
    for (const UScriptCode script : {USCRIPT_HAN, USCRIPT_HIRAGANA, USCRIPT_KATAKANA, USCRIPT_THAI,
                                     USCRIPT_LAO, USCRIPT_KHMER, USCRIPT_MYANMAR}) {
        // Some characters are of several scripts, as the mark of long vowels of both kana.
        if (uscript_hasScript(UChar32(c), script))
            return SearchText::Run;
    }
    return scriptOf(c) == USCRIPT_HANGUL ? SearchText::Hangul : SearchText::Word;
}

/// The ends of the grapheme clusters.
std::vector<int> clusterEnds(const QString &text)
{
    std::vector<int> ends;
    UErrorCode error = U_ZERO_ERROR;
    struct Close {
        void operator()(UBreakIterator *iterator) const { ubrk_close(iterator); }
    };
    const std::unique_ptr<UBreakIterator, Close> iterator(
        ubrk_open(UBRK_CHARACTER, "", reinterpret_cast<const UChar *>(text.utf16()),
                  int(text.size()), &error));
    if (U_FAILURE(error))
        return {int(text.size())};
    for (int end = ubrk_next(iterator.get()); end != UBRK_DONE; end = ubrk_next(iterator.get()))
        ends.push_back(end);
    return ends;
}

} // namespace

SearchText::SearchText(const QString &source)
{
    int from = 0;
    for (const int to : clusterEnds(source)) {
        for (; from < to && isSpace(source.at(from)); ++from) { // marks may follow it
            m_isOpen = m_isOpen && isZeroWidth(source.at(from)) && tokens.back().kind == Run;
            if (!m_isOpen)
                characters.push_back({U' ', from, from + 1});
        }
        const QString cluster = source.mid(from, to - from);
        if (isEmoji(cluster))
            addEmoji(cluster, from);
        else
            add(cluster, from);
        from = to;
    }
}

void SearchText::addEmoji(const QString &cluster, int from)
{
    const int to = from + int(cluster.size());
    const int first = int(characters.size());
    for (const uint code : cluster.toUcs4()) {
        // Joiners and presentation selectors do not matter, as the skin tone.
        if (!isSkinTone(code)
            && !u_hasBinaryProperty(UChar32(code), UCHAR_DEFAULT_IGNORABLE_CODE_POINT))
            characters.push_back({code, from, to});
    }
    tokens.push_back({Emoji, first, int(characters.size())});
    m_isOpen = false;
}

void SearchText::add(const QString &cluster, int from)
{
    const int to = from + int(cluster.size());
    for (const uint code : folded(cluster).toUcs4())
        addToken(kindOf(code), code, from, to);
}

void SearchText::addToken(Kind kind, char32_t code, int from, int to)
{
    const int place = int(characters.size());
    characters.push_back({code, from, to});
    if (kind == Symbol) {
        symbols.push_back({Symbol, place, place + 1});
        m_isOpen = false;
        return;
    }
    if (m_isOpen && tokens.back().kind == kind)
        tokens.back().to = place + 1;
    else
        tokens.push_back({kind, place, place + 1});
    m_isOpen = true;
}
