#include "base/drawabletextutil.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <array>

namespace
{

constexpr UChar32 zeroWidthJoiner = 0x200D;
constexpr UChar32 textSelector = 0xFE0E;
constexpr UChar32 emojiSelector = 0xFE0F;
constexpr UChar32 keycap = 0x20E3;
constexpr UChar32 firstTag = 0xE0020;
constexpr UChar32 lastTag = 0xE007E;
constexpr UChar32 cancelTag = 0xE007F;

bool is(UChar32 c, UProperty property)
{
    return u_hasBinaryProperty(c, property);
}

/// Iterates over code points; returns a lone surrogate as itself, and U_SENTINEL at the end.
class Reader
{
public:
    explicit Reader(QStringView text) : m_at(text.utf16()), m_end(m_at + text.size()) { }

    UChar32 next()
    {
        qsizetype length = 0;
        const UChar32 c = read(length);
        m_at += length;
        return c;
    }
    UChar32 peek() const
    {
        qsizetype length = 0;
        return read(length);
    }
    bool skip(UChar32 wanted)
    {
        qsizetype length = 0;
        if (read(length) != wanted)
            return false;
        m_at += length;
        return true;
    }
    bool atEnd() const { return m_at == m_end; }

private:
    UChar32 read(qsizetype &length) const
    {
        if (atEnd())
            return U_SENTINEL;
        UChar32 c = 0;
        U16_NEXT(m_at, length, m_end - m_at, c);
        return c;
    }

    const char16_t *m_at;
    const char16_t *m_end;
};

/// A sequence in the spelling that ICU knows as RGI: with the emoji selector after every character
/// that is text by default and has no skin tone, and nowhere else.
class Qualified
{
public:
    void append(UChar32 c)
    {
        if (m_size + U16_MAX_LENGTH > qsizetype(m_text.size()))
            m_tooLong = true;
        else
            U16_APPEND_UNSAFE(m_text, m_size, c);
    }
    bool isRgi() const
    {
        return !m_tooLong
            && u_stringHasBinaryProperty(m_text.data(), int32_t(m_size), UCHAR_RGI_EMOJI);
    }

private:
    std::array<char16_t, 32> m_text; // the longest of Unicode 15 has 15 code units
    qsizetype m_size = 0;
    bool m_tooLong = false;
};

/// One picture without joiners (zwj_element of UTS #51).
enum class Element {
    None, ///< not an emoji
    Text, ///< text by default; a picture only in a sequence
    Picture,
};

/// Reads a flag of two regional indicators. A pair without a region is shown as two letters.
Element readFlag(Reader &reader, UChar32 first)
{
    if (!is(reader.peek(), UCHAR_REGIONAL_INDICATOR))
        return Element::None;
    Qualified flag;
    flag.append(first);
    flag.append(reader.next());
    return flag.isRgi() ? Element::Picture : Element::None;
}

/// Reads one element, and adds it to the sequence. Flags and keycaps never join others, so they are
/// left out.
Element readElement(Reader &reader, Qualified &qualified)
{
    const UChar32 c = reader.next();
    if (c < 0x80) {
        // In ASCII only the keycaps count: digits, # and *.
        if (!is(c, UCHAR_EMOJI))
            return Element::None;
        reader.skip(emojiSelector);
        return reader.skip(keycap) ? Element::Picture : Element::None;
    }
    if (!is(c, UCHAR_EMOJI))
        return Element::None;
    if (is(c, UCHAR_REGIONAL_INDICATOR))
        return readFlag(reader, c);

    const bool pictureByDefault = is(c, UCHAR_EMOJI_PRESENTATION);
    qualified.append(c);
    const UChar32 following = reader.peek();
    if (following == textSelector)
        return Element::None;
    if (is(following, UCHAR_EMOJI_MODIFIER) && is(c, UCHAR_EMOJI_MODIFIER_BASE)) {
        qualified.append(reader.next());
        return Element::Picture;
    }

    const bool selected = reader.skip(emojiSelector);
    if (!pictureByDefault)
        qualified.append(emojiSelector);

    // Flags of subdivisions. Unknown tags are invisible, and the picture is the base's.
    bool tagged = false;
    for (UChar32 tag = reader.peek(); tag >= firstTag && tag <= lastTag; tag = reader.peek()) {
        tagged = true;
        qualified.append(reader.next());
    }
    if (tagged && !reader.skip(cancelTag))
        return Element::None;
    return pictureByDefault || selected ? Element::Picture : Element::Text;
}

/// Reads one emoji, and the joiner between it and the next one; false when there is none.
///
/// The longest joined sequence that is recommended for interchange (RGI) is one picture. Fonts do
/// not draw other joined sequences: those are split into their elements.
bool readEmoji(Reader &reader)
{
    Qualified qualified;
    Element element = readElement(reader, qualified);
    if (element == Element::None)
        return false;
    if (reader.peek() != zeroWidthJoiner)
        return element == Element::Picture;

    // No RGI sequence joins more than four; this limit keeps endless chains linear.
    static constexpr int mostJoined = 4;
    Reader end = reader;
    for (int joined = 2; joined <= mostJoined && reader.skip(zeroWidthJoiner); ++joined) {
        qualified.append(zeroWidthJoiner);
        if (readElement(reader, qualified) == Element::None)
            return false;
        if (qualified.isRgi()) {
            element = Element::Picture;
            end = reader;
        }
    }
    reader = end;
    const bool joinedToNothing = reader.skip(zeroWidthJoiner) && reader.atEnd();
    return element == Element::Picture && !joinedToNothing;
}

} // namespace

int DrawableTextUtil::emojiCount(QStringView text, int limit)
{
    Reader reader(text);
    int count = 0;
    while (!reader.atEnd()) {
        if (count >= limit || !readEmoji(reader))
            return 0;
        ++count;
    }
    return count;
}
