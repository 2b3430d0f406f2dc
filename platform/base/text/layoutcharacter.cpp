#include "base/text/layoutcharacter_p.h"

#include "base/undying.h"

#include <algorithm>
#include <vector>

namespace
{

using Side = LayoutCharacter::Side;

/// Neutral characters take the direction of their neighbours; characters that set one are unknown.
bool isSettled(QChar::Direction direction)
{
    switch (direction) {
    case QChar::DirL:
    case QChar::DirR:
    case QChar::DirAL:
    case QChar::DirEN:
    case QChar::DirES:
    case QChar::DirET:
    case QChar::DirCS:
    case QChar::DirWS:
    case QChar::DirON:
    case QChar::DirBN:
    case QChar::DirNSM:
        return true;
    default:
        return false;
    }
}

Side sideOf(QChar::Direction direction)
{
    switch (direction) {
    case QChar::DirL:
    case QChar::DirEN:
        return Side::Left;
    case QChar::DirR:
    case QChar::DirAL:
        return Side::Right;
    default:
        return Side::Neutral;
    }
}

bool isKnownCategory(QChar::Category category)
{
    switch (category) {
    case QChar::Other_Control:
    case QChar::Other_Surrogate:
    case QChar::Other_PrivateUse:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        return true;
    }
}

LayoutCharacter classify(char32_t c)
{
    const QChar::Category category = QChar::category(c);
    const QChar::Script script = QChar::script(c);
    LayoutCharacter made;
    made.script = std::max(script, QChar::Script_Common);
    made.side = sideOf(QChar::direction(c));
    made.isKnown = isSettled(QChar::direction(c)) && isKnownCategory(category)
        && c != QChar::SoftHyphen
        && (script == QChar::Script_Inherited || script == QChar::Script_Common
            || letterOf(script) != 0);
    made.isSpace = QChar::isSpace(c) && QChar::decompositionTag(c) != QChar::NoBreak;
    made.isMark = QChar::isMark(c);
    made.isLetter = QChar::isLetterOrNumber(c);
    made.isDigit = QChar::isDigit(c);
    made.isClosing = category == QChar::Punctuation_Close
        || QStringView(u"、。，．､｡").contains(QChar(char16_t(c)));
    made.isOpening = category == QChar::Punctuation_Open;
    const bool isHangulLetter = (c >= 0x1100 && c <= 0x11ff) || (c >= 0xa960 && c <= 0xa97f)
        || (c >= 0xd7b0 && c <= 0xd7ff);
    made.isJoining = made.isMark || category == QChar::Other_Format || isHangulLetter
        || c == 0x0d4e; // a letter displayed in front of another
    made.isIdeograph = script == QChar::Script_Han && category == QChar::Letter_Other;
    made.isBeforeIdeograph = made.isIdeograph
        || QStringView(u"、。，．！？：；」』）】》〉").contains(QChar(char16_t(c)));
    return made;
}

} // namespace

const LayoutCharacter &layoutCharacter(char16_t c)
{
    // A table, since the properties of a character take eight look-ups.
    static const auto &table = undying([] {
        std::vector<LayoutCharacter> made;
        made.reserve(0x10000);
        for (char32_t at = 0; at < 0x10000; ++at)
            made.push_back(classify(at));
        return made;
    }());
    return table[c];
}

LayoutCharacter nextCharacter(QStringView text, qsizetype &at)
{
    const char16_t c = text[at++].unicode();
    if (QChar::isHighSurrogate(c) && at < text.size() && text[at].isLowSurrogate())
        return classify(QChar::surrogateToUcs4(c, text[at++].unicode()));
    return layoutCharacter(c);
}

char16_t letterOf(QChar::Script script)
{
    switch (script) {
    case QChar::Script_Latin:
        return u'a';
    case QChar::Script_Greek:
        return u'α';
    case QChar::Script_Cyrillic:
        return u'а';
    case QChar::Script_Armenian:
        return u'ա';
    case QChar::Script_Georgian:
        return u'ა';
    case QChar::Script_Hebrew:
        return u'א';
    case QChar::Script_Arabic:
        return u'ا';
    case QChar::Script_Devanagari:
        return u'क';
    case QChar::Script_Bengali:
        return u'ক';
    case QChar::Script_Gurmukhi:
        return u'ਕ';
    case QChar::Script_Gujarati:
        return u'ક';
    case QChar::Script_Oriya:
        return u'କ';
    case QChar::Script_Tamil:
        return u'க';
    case QChar::Script_Telugu:
        return u'క';
    case QChar::Script_Kannada:
        return u'ಕ';
    case QChar::Script_Malayalam:
        return u'ക';
    case QChar::Script_Sinhala:
        return u'ක';
    case QChar::Script_Ethiopic:
        return u'አ';
    case QChar::Script_Han:
        return u'一';
    case QChar::Script_Hiragana:
        return u'あ';
    case QChar::Script_Katakana:
        return u'ア';
    case QChar::Script_Bopomofo:
        return u'ㄅ';
    case QChar::Script_Hangul:
        return u'가';
    default:
        return 0;
    }
}
