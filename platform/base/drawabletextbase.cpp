#include "base/drawabletextbase.h"

#include "base/text/layoutcharacter_p.h"
#include "base/text/wordlayout_p.h"
#include "base/undying.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QTextBoundaryFinder>
#include <QTextCharFormat>
#include <QTextOption>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace
{

/// The one newline of a text that is ready for layout.
constexpr QChar paragraphSeparator = u'\n';
constexpr QChar zeroWidthSpace(0x200B);

/// Stands for a custom emoji. A letter of Latin keeps its own font and width, whatever script the
/// text around it is in.
constexpr QChar pictureCharacter = u'n';

/// QTextLayout counts in 26.6 fixed point and takes no wider line; as good as no limit.
constexpr double unlimitedWidth = 1 << 22;

/// Code units that are laid out in one go. An ordinary message is one piece; a long text costs no
/// more than the lines that are asked for, and one without end is never searched for its next word.
constexpr qsizetype pieceLength = 4096;
/// The same where script, direction or format change all the time: QTextLayout takes more than linear
/// time for a run each few characters.
constexpr qsizetype shortPieceLength = 1024;
constexpr int mostRuns = 256;

using FormatRanges = QList<QTextLayout::FormatRange>;

/// A text ready for layout: pictures have their width, and paragraphs end in one way only.
struct Paragraphs {
    /// Whole paragraphs, without the separator behind the last one.
    struct Range {
        qsizetype from = 0;
        qsizetype end = 0;
    };

    QString text;
    FormatRanges formats;         ///< sorted, do not overlap
    std::vector<Range> collapsed; ///< sorted, do not overlap
    std::vector<DrawableTextBase::Layout::Picture> pictures;
    std::vector<qsizetype> movedTo; ///< of each position of the given text; empty: not moved
};

/// Collects lines in their order, until no further one can change the result.
class Lines
{
public:
    using Kept = std::vector<DrawableTextBase::Layout::Line>;

    /// @param kept where to put the lines themselves, for who draws them; null: nowhere
    Lines(int maxRowCount, int rowLimit, int tolerance, Kept *kept = nullptr)
        : m_kept(kept), m_maxRowCount(maxRowCount > 0 ? maxRowCount : unlimited),
          m_rowLimit(std::min(rowLimit > 0 ? rowLimit : DrawableTextBase::mostLines,
                              DrawableTextBase::mostLines)),
          m_tolerance(std::max(0, tolerance))
    {
    }

    bool isComplete() const { return m_all.count >= m_rowLimit || isElided(); }

    void add(double width, double height)
    {
        m_all.add(width, height);
        if (m_all.count <= m_maxRowCount)
            m_first = m_all;
    }

    bool areKept() const { return m_kept != nullptr; }
    /// A layout for the lines that follow, which lives on with them.
    QTextLayout &keepLayout(const QString &text, const QFont &font)
    {
        m_layouts.push_back(std::make_unique<QTextLayout>(text, font));
        m_layouts.back()->setCacheEnabled(true);
        m_isRightToLeft = text.isRightToLeft();
        return *m_layouts.back();
    }
    void setOffset(qsizetype offset) { m_offset = offset; }
    void add(const QTextLine &line)
    {
        add(line.naturalTextWidth(), line.height());
        if (m_kept)
            m_kept->push_back({line, m_offset, m_isRightToLeft});
    }
    std::vector<std::unique_ptr<QTextLayout>> takeLayouts() { return std::move(m_layouts); }

    DrawableTextBase::Measured measured(double lineSpacing) const
    {
        const Block &shown = isElided() ? m_first : m_all;
        const double gaps = lineSpacing * double(std::max<qint64>(0, shown.count - 1));
        const auto most = std::numeric_limits<int>::max();
        return {QSizeF(shown.width, shown.height + gaps), int(std::min<qint64>(shown.count, most)),
                isElided()};
    }

private:
    static constexpr qint64 unlimited = std::numeric_limits<int>::max();

    struct Block {
        qint64 count = 0;
        double width = 0;
        double height = 0;

        void add(double lineWidth, double lineHeight)
        {
            ++count;
            width = std::max(width, lineWidth);
            height += lineHeight;
        }
    };

    bool isElided() const { return m_all.count > m_maxRowCount + m_tolerance; }

    Kept *const m_kept;
    std::vector<std::unique_ptr<QTextLayout>> m_layouts;
    qsizetype m_offset = 0; // where the piece that is laid out begins
    bool m_isRightToLeft = false;
    const qint64 m_maxRowCount;
    const qint64 m_rowLimit;
    const qint64 m_tolerance;
    Block m_all;
    Block m_first; ///< what is shown of an elided text
};

const QTextOption &wrapOption()
{
    static const QTextOption option = [] {
        QTextOption wrapping;
        wrapping.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        return wrapping;
    }();
    return option;
}

struct LaidOut {
    int lines = 0;
    qsizetype end = 0; ///< where the first line that was left out begins
};

/// The formats inside [from, end), counted from there.
FormatRanges formatsWithin(const FormatRanges &all, qsizetype from, qsizetype end)
{
    FormatRanges within;
    auto format = std::partition_point(all.begin(), all.end(), [from](const auto &range) {
        return range.start + range.length <= from;
    });
    for (; format != all.end() && format->start < end; ++format) {
        const qsizetype start = std::max<qsizetype>(format->start, from);
        const qsizetype stop = std::min<qsizetype>(format->start + format->length, end);
        within.append({int(start - from), int(stop - start), format->format});
    }
    return within;
}

LaidOut addLines(const std::vector<WordLayout::Line> &known, int most, Lines &lines)
{
    LaidOut made;
    for (const WordLayout::Line &line : known) {
        if (made.lines >= most || lines.isComplete())
            break;
        lines.add(line.width, line.height);
        ++made.lines;
    }
    return made;
}

/// Breaks a piece of a paragraph into at most `most` lines. Of a piece that is cut off at its end
/// the last line is left out: it begins there in any case, but it may go on.
LaidOut layOutPiece(const QString &text, bool isCut, const QFont &font, const FormatRanges &formats,
                    double width, int most, Lines &lines)
{
    if (!isCut && !lines.areKept()) {
        WordLayout *const words = WordLayout::ofThisThread();
        const auto *known = words ? words->breakLines(text, font, formats, width) : nullptr;
        if (known != nullptr)
            return addLines(*known, most, lines);
    }
    std::optional<QTextLayout> passing;
    QTextLayout &layout =
        lines.areKept() ? lines.keepLayout(text, font) : passing.emplace(text, font);
    layout.setTextOption(wrapOption());
    if (!formats.isEmpty())
        layout.setFormats(formats);
    layout.beginLayout();
    LaidOut made;
    while (made.lines < most && !lines.isComplete()) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLeadingIncluded(true);
        line.setLineWidth(width);
        const int end = line.textStart() + line.textLength();
        if (isCut && end >= text.size())
            break;
        lines.add(line);
        ++made.lines;
        made.end = end;
    }
    if (lines.areKept())
        layout.endLayout();
    return made;
}

/// How much of [from, end) is laid out in one go.
qsizetype pieceLengthOf(const Paragraphs &paragraphs, qsizetype from, qsizetype end)
{
    if (end - from <= shortPieceLength)
        return pieceLength;
    end = std::min(end, from + pieceLength);
    const auto formatAt = [&formats = paragraphs.formats](qsizetype at) {
        return std::partition_point(formats.begin(), formats.end(),
                                    [at](const auto &range) { return range.start < at; });
    };
    auto runs = formatAt(end) - formatAt(from);
    LayoutCharacter before;
    for (const QChar c : QStringView(paragraphs.text).sliced(from, end - from)) {
        const LayoutCharacter &here = layoutCharacter(c.unicode());
        if (here.side != LayoutCharacter::Neutral) {
            runs += int(here.side != before.side || here.script != before.script);
            before = here;
        }
    }
    return runs > mostRuns ? shortPieceLength : pieceLength;
}

/// Lays out the paragraph [from, end), each piece from the line that the one before could not
/// finish.
/// @return the lines it made, `most` or fewer
int layOutParagraph(const Paragraphs &paragraphs, qsizetype from, qsizetype end, const QFont &font,
                    double width, int most, Lines &lines)
{
    const QString &text = paragraphs.text;
    int made = 0;
    qsizetype length = pieceLengthOf(paragraphs, from, end);
    while (made < most && !lines.isComplete()) {
        const qsizetype pieceEnd = std::min(end, from + length);
        const bool isCut = pieceEnd < end;
        lines.setOffset(from);
        const LaidOut piece = layOutPiece(
            QString::fromRawData(text.constData() + from, pieceEnd - from), isCut, font,
            formatsWithin(paragraphs.formats, from, pieceEnd), width, most - made, lines);
        made += piece.lines;
        if (!isCut)
            break;
        from += piece.end;
        // A piece that is less than a line is tried again with much more.
        length = piece.lines == 0 ? 4 * length : pieceLengthOf(paragraphs, from, end);
    }
    return made;
}

/// Lays out paragraph by paragraph. What lies behind the last line that counts is never shaped.
void layOut(const Paragraphs &paragraphs, const QFont &font, double width, Lines &lines)
{
    const QString &text = paragraphs.text;
    auto collapsed = paragraphs.collapsed.begin();
    int rowsLeft = DrawableTextBase::collapsedRowCount;

    for (qsizetype at = 0; at <= text.size() && !lines.isComplete();) {
        const qsizetype separator = text.indexOf(paragraphSeparator, at);
        const qsizetype end = separator < 0 ? text.size() : separator;
        const bool isCollapsed = collapsed != paragraphs.collapsed.end() && collapsed->from <= at;
        const int most = isCollapsed ? rowsLeft : std::numeric_limits<int>::max();
        const int made = layOutParagraph(paragraphs, at, end, font, width, most, lines);
        at = end + 1;
        if (!isCollapsed)
            continue;
        rowsLeft -= made;
        if (rowsLeft == 0 || at > collapsed->end) {
            at = collapsed->end + 1;
            ++collapsed;
            rowsLeft = DrawableTextBase::collapsedRowCount;
        }
    }
}

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

/// What must not reach the layout as it is: other newlines; control characters, which it would shape
/// with any of the fonts that happen to be loaded by then; and the object replacement character,
/// whose objects would come from a document that there is not.
bool isReplaced(QChar c)
{
    return c == QChar::ObjectReplacementCharacter
        || (c != paragraphSeparator && c != u'\t' && (isControl(c) || isNewline(c)));
}

QChar replacementFor(QChar c)
{
    return isNewline(c) ? paragraphSeparator : zeroWidthSpace;
}

/// Whether a character is drawn on the one before it, or not at all.
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

/// Makes a picture as wide as a line of `font` is high, by the space behind its character.
QTextCharFormat pictureFormat(const QFont &font)
{
    const QFontMetricsF metrics(font);
    QTextCharFormat format;
    format.setFontLetterSpacingType(QFont::AbsoluteSpacing);
    format.setFontLetterSpacing(metrics.height() - metrics.horizontalAdvance(pictureCharacter));
    return format;
}

/// Flattens spans that may overlap in any way into sorted ranges of one format each.
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

    // One format for each combination of styles, made when it is first met.
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

/// The collapsed blocks as ranges of whole paragraphs. What an earlier one covers is left out of a
/// later one; one that is no whole paragraphs (it begins inside a picture) stays open.
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

/// The part of a text that is laid out.
QString bounded(const QString &text)
{
    qsizetype length = DrawableTextBase::mostLength;
    if (text.size() <= length)
        return text;
    length -= text[length - 1].isHighSurrogate() ? 1 : 0;
    return text.first(length) + u'\u2026';
}

/// The next letter may make one shape with the one before, as after Devanagari's virama.
bool isConjoining(char32_t c)
{
    constexpr uchar virama = 9; // Unicode's combining class of all such signs
    return c >= 0x900 && QChar::combiningClass(c) == virama;
}

/// Whether some character of the text may have more on it, or joined to it, than is shown. Never
/// false where it has.
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

/// What becomes of a code unit whose character has too much on it.
enum class Treatment : uint8_t { Keep, Drop, BreakBefore };

/// Empty when every character is kept as it is.
std::vector<Treatment> treatmentOf(const QString &text)
{
    if (!mayHaveLongClusters(text))
        return {};
    std::vector<Treatment> treatment(size_t(text.size()), Treatment::Keep);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int letters = 0; // that make one character with each other, as those of Hangul do
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

/// Turns a text with its entities into paragraphs. Does nothing that the text does not ask for.
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

    /// Replaces where the text's length changes, and moves the spans with their text.
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

            // Of pictures that overlap, the first one is shown.
            while (picture != m_pictures.cend() && picture->from < at)
                ++picture;
            qsizetype next = at + 1;
            if (picture != m_pictures.cend() && picture->from == at) {
                // Lines may break on either side, whatever stands there.
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

    /// Where a line has to begin because a block that stands alone begins or has ended there.
    std::vector<bool> breaksAround(const QString &source) const
    {
        std::vector<bool> breaks(size_t(source.size()) + 1);
        for (const Span &span : m_standingAlone) {
            breaks[size_t(span.from)] = true;
            // The newline behind a block is its line's own.
            if (span.end < source.size() && !isNewline(source[span.end]))
                breaks[size_t(span.end)] = true;
        }
        return breaks;
    }

    QString m_text;
    std::vector<Treatment> m_treatment; ///< of each code unit; empty: all are kept
    std::vector<PictureSpan> m_pictures;
    std::vector<DrawableTextBase::Layout::Picture> m_shownPictures;
    std::vector<qsizetype> m_movedTo;
    std::vector<Span> m_standingAlone;
    std::vector<Span> m_collapsed;
    std::vector<StyledSpan> m_styled;
};

double layoutWidth(double maxWidth, bool wordWrap)
{
    return wordWrap && maxWidth > 0 ? std::min(maxWidth, unlimitedWidth) : unlimitedWidth;
}

} // namespace

DrawableTextBase::Measured DrawableTextBase::calculateSize(
    const QString &text, double maxWidth, const QFont &font, int maxRowCount, double lineSpacing,
    int rowLimit, const UserTextBlocks &blocks, bool wordWrap, bool plainText, int tolerance)
{
    if (text.isEmpty())
        return {};
    Lines lines(maxRowCount, rowLimit, tolerance);
    ::layOut(Preparation(text, blocks, plainText).paragraphs(font), font,
             layoutWidth(maxWidth, wordWrap), lines);
    return lines.measured(lineSpacing);
}

DrawableTextBase::Layout DrawableTextBase::layOut(const QString &text, double maxWidth,
                                                  const QFont &font, int maxRowCount,
                                                  double lineSpacing, int rowLimit,
                                                  const UserTextBlocks &blocks, bool wordWrap,
                                                  bool plainText, int tolerance)
{
    Layout made;
    if (text.isEmpty())
        return made;
    Paragraphs paragraphs = Preparation(text, blocks, plainText).paragraphs(font);
    Lines lines(maxRowCount, rowLimit, tolerance, &made.lines);
    ::layOut(paragraphs, font, layoutWidth(maxWidth, wordWrap), lines);
    made.measured = lines.measured(lineSpacing);
    made.lines.resize(size_t(made.measured.lineCount));
    double y = 0;
    for (Layout::Line &line : made.lines) {
        const double spare = made.measured.size.width() - line.line.naturalTextWidth();
        line.line.setPosition({line.isRightToLeft ? spare : 0, y});
        y += line.line.height() + lineSpacing;
    }
    made.text = std::move(paragraphs.text);
    made.pictures = std::move(paragraphs.pictures);
    made.m_movedTo = std::move(paragraphs.movedTo);
    made.m_layouts = lines.takeLayouts();
    return made;
}

qsizetype DrawableTextBase::Layout::shownAt(qsizetype position) const
{
    if (m_movedTo.empty())
        return std::clamp<qsizetype>(position, 0, text.size());
    return m_movedTo[size_t(std::clamp<qsizetype>(position, 0, qsizetype(m_movedTo.size()) - 1))];
}
