#include "base/text/paragraphs_p.h"

#include "base/text/layoutcharacter_p.h"
#include "base/undying.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QTextBoundaryFinder>
#include <QTextCharFormat>

#include <algorithm>
#include <array>
#include <utility>

namespace
{

constexpr QChar zeroWidthSpace(0x200B);

/// Stands for a custom emoji. A Latin letter keeps its own font and width, whatever the script of
/// the surrounding text.
constexpr QChar pictureCharacter = u'n';

using FormatRanges = QList<QTextLayout::FormatRange>;

bool isControl(QChar c)
{
    return c < u' ' || (c >= u'\x7f' && c < u'\xa0');
}

/// The mandatory breaks of UAX #14 (LB4, LB5).
bool isNewline(QChar c)
{
    constexpr QChar nextLine = u'\x85';
    return (c >= u'\n' && c <= u'\r') || c == nextLine || c == QChar::LineSeparator
        || c == QChar::ParagraphSeparator;
}

/// Characters that must not reach the layout unchanged: other newlines; control characters, which
/// it would shape with any font that happens to be loaded; and the object replacement character,
/// whose object would come from a document that does not exist.
bool isReplaced(QChar c)
{
    return c == QChar::ObjectReplacementCharacter
        || (c != paragraphSeparator && c != u'\t' && (isControl(c) || isNewline(c)));
}

QChar replacementFor(QChar c)
{
    return isNewline(c) ? paragraphSeparator : zeroWidthSpace;
}

/// Whether a character is drawn on the previous one, or not at all.
bool isAttached(char32_t c)
{
    constexpr char32_t firstTone = 0x1F3FB;
    constexpr char32_t lastTone = 0x1F3FF;
    return QChar::isMark(c) || QChar::category(c) == QChar::Other_Format
        || (c >= firstTone && c <= lastTone);
}

struct Span {
    qsizetype from = 0;
    qsizetype end = 0;

    friend bool operator<(const Span &a, const Span &b) { return a.from < b.from; }
};

enum Style { Bold, Italic, Monospace, Picture, StyleCount };

struct StyledSpan : Span {
    Style style = Bold;
};

const QStringList &monospaceFamilies()
{
    static const auto &families = undying([] {
        QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
        if (!QFontInfo(font).fixedPitch()) {
            font.setFamily(QStringLiteral("monospace"));
            font.setStyleHint(QFont::Monospace);
        }
        return QStringList{QFontInfo(font).family()};
    }());
    return families;
}

/// Makes a picture as wide as a line of `font` is high, by the space after its character.
QTextCharFormat pictureFormat(const QFont &font)
{
    const QFontMetricsF metrics(font);
    QTextCharFormat format;
    format.setFontLetterSpacingType(QFont::AbsoluteSpacing);
    format.setFontLetterSpacing(metrics.height() - metrics.horizontalAdvance(pictureCharacter));
    return format;
}

/// Converts spans that may overlap in any way into sorted ranges of one format each.
FormatRanges flattened(const std::vector<StyledSpan> &spans, const QFont &font)
{
    struct Edge {
        qsizetype at;
        Style style;
        int step;
    };
    std::vector<Edge> edges;
    edges.reserve(2 * spans.size());
    for (const StyledSpan &span : spans) {
        edges.push_back({span.from, span.style, 1});
        edges.push_back({span.end, span.style, -1});
    }
    std::sort(edges.begin(), edges.end(), [](const Edge &a, const Edge &b) { return a.at < b.at; });

    // One format for each combination of styles, made on first use.
    std::array<QTextCharFormat, 1 << StyleCount> formats;
    const auto formatOf = [&](unsigned styles) {
        QTextCharFormat &format = formats[styles];
        if (!format.isEmpty())
            return format;
        if (styles & 1U << Picture)
            return format = pictureFormat(font);
        if (styles & 1U << Bold)
            format.setFontWeight(QFont::Bold);
        if (styles & 1U << Italic)
            format.setFontItalic(true);
        if (styles & 1U << Monospace)
            format.setFontFamilies(monospaceFamilies());
        return format;
    };

    FormatRanges ranges;
    std::array<qsizetype, StyleCount> open{};
    unsigned styles = 0;
    qsizetype from = 0;
    for (auto edge = edges.begin(); edge != edges.end();) {
        const qsizetype at = edge->at;
        for (; edge != edges.end() && edge->at == at; ++edge)
            open[edge->style] += edge->step;
        unsigned now = 0;
        for (unsigned style = 0; style < StyleCount; ++style)
            now |= unsigned(open[style] > 0) << style;
        if (now == styles)
            continue;
        if (styles != 0)
            ranges.append({int(from), int(at - from), formatOf(styles)});
        styles = now;
        from = at;
    }
    return ranges;
}

/// The collapsed blocks as ranges of whole paragraphs. A later block excludes the text of an
/// earlier one; a block that is not whole paragraphs (it begins inside a picture) stays open.
std::vector<Paragraphs::Range> collapsedParagraphs(std::vector<Span> spans, const QString &text)
{
    std::sort(spans.begin(), spans.end());
    std::vector<Paragraphs::Range> ranges;
    qsizetype next = 0;
    for (auto [from, end] : spans) {
        from = std::max(from, next);
        if (from >= end)
            continue;
        if (text[end - 1] == paragraphSeparator)
            --end;
        if ((from > 0 && text[from - 1] != paragraphSeparator)
            || (end < text.size() && text[end] != paragraphSeparator))
            continue;
        ranges.push_back({from, end});
        next = end + 1;
    }
    return ranges;
}

/// The part of a text to lay out.
QString bounded(const QString &text)
{
    qsizetype length = DrawableTextBase::mostLength;
    if (text.size() <= length)
        return text;
    length -= text[length - 1].isHighSurrogate() ? 1 : 0;
    return text.first(length) + u'\u2026';
}

/// The next letter may form one shape with the previous one, as after Devanagari's virama.
bool isConjoining(char32_t c)
{
    constexpr uchar virama = 9; // Unicode's combining class of all such signs
    return c >= 0x900 && QChar::combiningClass(c) == virama;
}

/// Whether a character of the text may have more marks or joined letters than are shown. Never
/// false if one has.
bool mayHaveLongClusters(QStringView text)
{
    constexpr char16_t joiner = 0x200D;
    int length = 0;
    int joiners = 0;
    char16_t before = 0;
    for (const QChar each : text) {
        const char16_t c = each.unicode();
        const bool goesOn = c >= 0x300 && (each.isSurrogate() || layoutCharacter(c).isJoining);
        if (!goesOn && before != joiner && !isConjoining(before))
            length = joiners = 0;
        ++length;
        joiners += int(c == joiner);
        if (length > DrawableTextBase::mostLetters || joiners >= DrawableTextBase::mostJoined)
            return true;
        before = c;
    }
    return false;
}

/// How to treat a code unit whose character has too many marks.
enum class Treatment : uint8_t { Keep, Drop, BreakBefore };

/// Empty when every character is kept unchanged.
std::vector<Treatment> treatmentOf(const QString &text)
{
    if (!mayHaveLongClusters(text))
        return {};
    std::vector<Treatment> treatment(size_t(text.size()), Treatment::Keep);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int letters = 0; // that form one character, as in Hangul
    char32_t before = 0;
    for (qsizetype from = 0, end = 0; (end = finder.toNextBoundary()) >= 0; from = end) {
        int marks = 0;
        int joined = 0;
        if (!isConjoining(before))
            letters = 0;
        before = 0;
        for (qsizetype at = from; at < end;) {
            const qsizetype start = at;
            char32_t c = text[at++].unicode();
            if (QChar::isHighSurrogate(c) && at < end && text[at].isLowSurrogate())
                c = QChar::surrogateToUcs4(char16_t(c), text[at++].unicode());
            if (isAttached(c)) {
                if (++marks > DrawableTextBase::mostMarks)
                    std::fill(treatment.begin() + start, treatment.begin() + at, Treatment::Drop);
            } else if ((before == 0x200D && ++joined >= DrawableTextBase::mostJoined)
                       || ++letters > DrawableTextBase::mostLetters) {
                treatment[size_t(start)] = Treatment::BreakBefore;
                marks = letters = joined = 0;
            } else {
                marks = 0;
            }
            before = c;
        }
    }
    return treatment;
}

/// Turns a text with its entities into paragraphs. Does only what the text needs.
class Preparation
{
public:
    Preparation(const QString &text, const UserTextBlocks &blocks, bool withFormats)
        : m_text(bounded(text)), m_treatment(treatmentOf(m_text))
    {
        const auto count = std::min<qsizetype>(blocks.size(), DrawableTextBase::mostBlocks);
        for (int i = 0; i < count; ++i)
            addBlock(blocks[i], i, withFormats);
    }

    Paragraphs paragraphs(const QFont &font) &&
    {
        if (m_pictures.empty() && m_standingAlone.empty() && m_treatment.empty()
            && !m_text.contains(QLatin1StringView("\r\n")))
            replaceInPlace();
        else
            rewrite();
        return {m_text, flattened(m_styled, font),
                collapsedParagraphs(std::move(m_collapsed), m_text), std::move(m_shownPictures),
                std::move(m_movedTo)};
    }

private:
    struct PictureSpan : Span {
        int block = 0;
    };

    void addBlock(const UserTextBlock &block, int index, bool withFormats)
    {
        const auto [from, len] = block.clampedTo(m_text.size());
        if (len == 0)
            return;
        const Span span{from, from + len};
        if (block.type == TextEntityType::CustomEmoji)
            m_pictures.push_back({span, index});
        if (!withFormats)
            return;
        switch (block.type) {
        case TextEntityType::Bold:
            m_styled.push_back({span, Bold});
            break;
        case TextEntityType::Italic:
            m_styled.push_back({span, Italic});
            break;
        case TextEntityType::CodeBlock:
            m_styled.push_back({span, Monospace});
            [[fallthrough]];
        case TextEntityType::Quoted:
            m_standingAlone.push_back(span);
            if (block.data.toMap().value(QStringLiteral("collapsed")).toBool())
                m_collapsed.push_back(span);
            break;
        case TextEntityType::Monospace:
            m_styled.push_back({span, Monospace});
            break;
        default: // changes neither width nor height
            break;
        }
    }

    void replaceInPlace()
    {
        const auto first = std::find_if(m_text.cbegin(), m_text.cend(), isReplaced);
        if (first == m_text.cend())
            return;
        const qsizetype at = first - m_text.cbegin();
        std::for_each(m_text.begin() + at, m_text.end(), [](QChar &c) {
            if (isReplaced(c))
                c = replacementFor(c);
        });
    }

    /// Makes the replacements that change the text's length, and moves the spans with their text.
    void rewrite()
    {
        const QString source = std::exchange(m_text, QString());
        const qsizetype length = source.size();
        m_text.reserve(length);
        std::vector<StyledSpan> pictures;
        std::vector<qsizetype> &movedTo = m_movedTo;
        movedTo.resize(size_t(length) + 1);
        const std::vector<bool> breaks = breaksAround(source);
        std::sort(m_pictures.begin(), m_pictures.end());
        auto picture = m_pictures.cbegin();

        for (qsizetype at = 0; at < length;) {
            if (breaks[size_t(at)] && !m_text.isEmpty() && m_text.back() != paragraphSeparator)
                m_text.append(paragraphSeparator);
            movedTo[size_t(at)] = m_text.size();

            // Of overlapping pictures, the first one is shown.
            while (picture != m_pictures.cend() && picture->from < at)
                ++picture;
            qsizetype next = at + 1;
            if (picture != m_pictures.cend() && picture->from == at) {
                // Lines may break on either side, whatever the neighbouring text.
                m_text.append(zeroWidthSpace);
                pictures.push_back({{m_text.size(), m_text.size() + 1}, Picture});
                m_shownPictures.push_back({m_text.size(), picture->block});
                m_text.append(pictureCharacter);
                m_text.append(zeroWidthSpace);
                next = picture->end;
            } else if (m_treatment.empty() || m_treatment[size_t(at)] != Treatment::Drop) {
                if (!m_treatment.empty() && m_treatment[size_t(at)] == Treatment::BreakBefore)
                    m_text.append(zeroWidthSpace);
                const QChar c = source[at];
                if (c == u'\r' && next < length && source[next] == u'\n')
                    ++next;
                m_text.append(isReplaced(c) ? replacementFor(c) : c);
            }
            for (++at; at < next; ++at)
                movedTo[size_t(at)] = m_text.size();
        }
        movedTo[size_t(length)] = m_text.size();

        const auto move = [&movedTo](Span &span) {
            span = {movedTo[size_t(span.from)], movedTo[size_t(span.end)]};
        };
        std::for_each(m_styled.begin(), m_styled.end(), move);
        std::for_each(m_collapsed.begin(), m_collapsed.end(), move);
        m_styled.insert(m_styled.end(), pictures.begin(), pictures.end());
    }

    /// Where a line must begin because a block on its own lines begins or has ended there.
    std::vector<bool> breaksAround(const QString &source) const
    {
        std::vector<bool> breaks(size_t(source.size()) + 1);
        for (const Span &span : m_standingAlone) {
            breaks[size_t(span.from)] = true;
            // The newline after a block ends the block's last line.
            if (span.end < source.size() && !isNewline(source[span.end]))
                breaks[size_t(span.end)] = true;
        }
        return breaks;
    }

    QString m_text;
    std::vector<Treatment> m_treatment; ///< for each code unit; empty: keep all
    std::vector<PictureSpan> m_pictures;
    std::vector<DrawableTextBase::Layout::Picture> m_shownPictures;
    std::vector<qsizetype> m_movedTo;
    std::vector<Span> m_standingAlone;
    std::vector<Span> m_collapsed;
    std::vector<StyledSpan> m_styled;
};

} // namespace

Paragraphs Paragraphs::of(const QString &text, const UserTextBlocks &blocks, bool withFormats,
                          const QFont &font)
{
    return Preparation(text, blocks, withFormats).paragraphs(font);
}
