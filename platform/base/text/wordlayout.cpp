#include "base/text/wordlayout_p.h"

#include "base/text/layoutcharacter_p.h"
#include "base/text/wordproof_p.h"
#include "base/undying.h"

#include <QTextBoundaryFinder>

#include <atomic>

#include <optional>

namespace
{

/// Where QTextLayout may break a line. Most texts do not need it: lines break at spaces.
class LineBreaks
{
public:
    explicit LineBreaks(const QString &text) : m_text(text) { }

    bool isAt(qsizetype position)
    {
        if (!m_finder) {
            // Korean breaks at spaces only: its syllables are letters to QTextLayout.
            for (QChar &c : m_text) {
                if (c.script() == QChar::Script_Hangul)
                    c = u'a';
            }
            m_finder.emplace(QTextBoundaryFinder::Line, m_text);
        }
        m_finder->setPosition(position);
        return m_finder->isAtBoundary();
    }

private:
    QString m_text;
    std::optional<QTextBoundaryFinder> m_finder;
};

/// Whether the character at a format boundary does not affect the breaks after it, unlike digits
/// and brackets.
bool isPlain(const LayoutCharacter &c, QChar unit)
{
    return (c.isLetter && !c.isDigit) || unit == QChar(0x200B);
}

/// Finds numbers whose breaks depend on another word: to QTextLayout a number continues across
/// spaces until a letter comes, ends differently after a bracket, and may begin with a bracket
/// before those spaces.
class Numbers
{
public:
    /// @return whether the preceding number may extend into the word of `c`
    bool reachesInto(const LayoutCharacter &c)
    {
        const Bracket before = m_bracket;
        m_bracket = c.isOpening ? Open : c.isSpace && before != None ? OpenAndSpace : None;
        if (before == OpenAndSpace && c.isDigit)
            return true;
        if (c.isLetter && !c.isDigit) {
            *this = {};
        } else if (c.isSpace) {
            m_hasSpace = m_isOpen;
        } else if (m_hasSpace && (m_isClosed || !c.isDigit)) {
            return true;
        } else if (c.isDigit) {
            *this = {};
            m_isOpen = true;
        } else if (c.isClosing) {
            m_isClosed = m_isOpen;
        }
        return false;
    }

private:
    enum Bracket { None, Open, OpenAndSpace };
    Bracket m_bracket = None;
    bool m_isOpen = false;
    bool m_isClosed = false;
    bool m_hasSpace = false;
};

bool isSpaceAt(const QString &text, qsizetype at)
{
    return layoutCharacter(text[at].unicode()).isSpace;
}

/// The end of the word that begins, with its spaces, at `from`.
qsizetype endOfWord(const QString &text, qsizetype from, qsizetype end, QChar::Script script)
{
    qsizetype at = from;
    while (at < end && isSpaceAt(text, at))
        ++at;
    bool isAfterIdeograph = false;
    while (at < end) {
        qsizetype behind = at;
        const LayoutCharacter c = nextCharacter(text, behind);
        if (c.isSpace || (isAfterIdeograph && c.isIdeograph))
            break;
        isAfterIdeograph = c.isBeforeIdeograph && script == QChar::Script_Han;
        at = behind;
    }
    return at;
}

} // namespace

WordLayout *WordLayout::ofThisThread()
{
#ifdef MODELBASE_WORD_CACHE
    // While one thread runs the proof, and handles the log line, all others use the full layout.
    enum Verdict { Unknown, Differs, Holds };
    static std::atomic<Verdict> verdict = Unknown;
    Verdict before = verdict;
    if (before == Unknown && verdict.compare_exchange_strong(before, Differs) && WordProof::holds())
        verdict = Holds;
    return verdict == Holds ? keptByThread<WordLayout>() : nullptr;
#else
    return nullptr;
#endif
}

const std::vector<WordLayout::Line> *WordLayout::breakLines(const QString &paragraph,
                                                            const QFont &font,
                                                            const Formats &formats, double width)
{
    if (!m_isEnabled || paragraph.isEmpty())
        return nullptr;
    m_words.beginText();
    m_font = m_words.indexOf(font);
    if (!itemize(paragraph, formats) || !splitIntoWords(paragraph) || !measureWords())
        return nullptr;
    LineBreaker breaker(m_words, m_units, m_items.size(), width);
    return breaker.breakAll(m_lines) ? &m_lines : nullptr;
}

void WordLayout::clear()
{
    m_words.clear();
}

/// Splits the text where QTextLayout does: where the script or the format changes.
bool WordLayout::itemize(const QString &text, const Formats &formats)
{
    if (size_t(formats.size()) >= WordCache::mostFormats)
        return false;
    m_items.clear();
    m_isRightToLeft = false;
    bool isLeftToRight = false;
    Numbers numbers;
    Item item;
    auto range = formats.begin();
    const QTextLayout::FormatRange *format = nullptr;
    for (qsizetype at = 0; at < text.size();) {
        const qsizetype from = at;
        const LayoutCharacter c = nextCharacter(text, at);
        isLeftToRight = isLeftToRight || c.side == LayoutCharacter::Left;
        m_isRightToLeft = m_isRightToLeft || c.side == LayoutCharacter::Right;
        if (!c.isKnown || (isLeftToRight && m_isRightToLeft) || numbers.reachesInto(c))
            return false;

        while (range != formats.end() && range->start + range->length <= from)
            ++range;
        const auto *here = range != formats.end() && range->start < at ? &*range : nullptr;
        if (here != nullptr && (here->start > from || here->start + here->length < at))
            return false; // a format boundary inside a character
        const bool hasNewFormat = here != format;
        const bool hasNewScript = c.script != QChar::Script_Common && c.script != item.script;
        if (hasNewScript && item.script == QChar::Script_Common) {
            // Characters before the first letter have its script.
            for (Item &before : m_items)
                before.script = c.script;
            item.script = c.script;
        } else if (hasNewScript && c.isMark) {
            return false; // a mark whose script is not its base's
        }
        if (from > item.from && (hasNewFormat || (hasNewScript && item.script != c.script))) {
            item.end = from;
            m_items.push_back(item);
            item.from = from;
        }
        if (hasNewScript)
            item.script = c.script;
        if (hasNewFormat)
            item.format = here != nullptr ? m_words.indexOf(here->format) : 0;
        format = here;
    }
    item.end = text.size();
    m_items.push_back(item);
    return true;
}

/// Splits items into words, each with the spaces before it.
bool WordLayout::splitIntoWords(const QString &text)
{
    m_units.clear();
    LineBreaks breaks(text);
    const auto *letters = reinterpret_cast<const char16_t *>(text.constData());
    for (size_t index = 0; index < m_items.size(); ++index) {
        const Item &item = m_items[index];
        bool mayBreak = true;
        if (item.from > 0) {
            qsizetype at = item.from;
            const LayoutCharacter first = nextCharacter(text, at);
            const LayoutCharacter last = layoutCharacter(text[item.from - 1].unicode());
            if (first.isMark)
                return false;
            if (first.isDigit && last.isSpace)
                return false; // it would be measured as if it were at the start
            if (!first.isSpace && !last.isSpace) {
                if (m_items[index - 1].format != item.format
                    && (!isPlain(first, text[item.from]) || !isPlain(last, text[item.from - 1])))
                    return false;
                mayBreak = breaks.isAt(item.from);
            }
        }
        for (qsizetype from = item.from; from < item.end;) {
            const qsizetype end = endOfWord(text, from, item.end, item.script);
            if (end - from > WordCache::longestWord)
                return false;
            const bool isSpaceNext = end < item.end && isSpaceAt(text, end);
            const WordCache::KeyView key{
                std::u16string_view(letters + from, size_t(end - from)),
                {m_font, item.format, uint8_t(item.script), m_isRightToLeft, isSpaceNext}};
            m_units.push_back({&m_words.find(key), index, from > item.from || mayBreak});
            from = end;
        }
    }
    return true;
}

/// Measures the words that are not known yet, if that is cheaper than a full layout or will pay
/// off.
bool WordLayout::measureWords()
{
    using Word = WordCache::Word;
    size_t unknown = 0;
    bool hasNew = false;
    for (const LineBreaker::Unit &unit : m_units) {
        Word &word = unit.entry->second;
        unknown += size_t(word.state < Word::Measured);
        if (word.state == Word::New) {
            word.state = Word::Seen;
            hasNew = true;
        }
    }
    if (hasNew && 4 * unknown > m_units.size())
        return false;
    for (const LineBreaker::Unit &unit : m_units) {
        if (unit.word().state == Word::Seen)
            m_words.measure(*unit.entry);
        if (unit.word().state == Word::Unusable)
            return false;
    }
    return true;
}
