#include "base/drawabletextbase.h"

#include "base/text/layoutcharacter_p.h"
#include "base/text/paragraphs_p.h"
#include "base/text/wordlayout_p.h"

#include <QTextOption>

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace
{

using FormatRanges = QList<QTextLayout::FormatRange>;

/// QTextLayout counts in 26.6 fixed point and accepts no wider line; in practice unlimited.
constexpr double unlimitedWidth = 1 << 22;

/// Code units laid out at once. An ordinary message is one piece; a long text costs only the lines
/// that are needed, and an endless one is never searched for its next word.
constexpr qsizetype pieceLength = 4096;
/// The same for text whose script, direction or format changes all the time: there QTextLayout
/// takes more than linear time.
constexpr qsizetype shortPieceLength = 1024;
constexpr int mostRuns = 256;

/// Collects lines in order, until no further one can change the result.
class Lines
{
public:
    using Kept = std::vector<DrawableTextBase::Layout::Line>;

    /// @param kept receives the lines themselves, for drawing; null: discard them
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
    /// A layout for the lines that follow, kept as long as they are.
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
    qsizetype m_offset = 0; // start of the present piece
    bool m_isRightToLeft = false;
    const qint64 m_maxRowCount;
    const qint64 m_rowLimit;
    const qint64 m_tolerance;
    Block m_all;
    Block m_first; ///< the visible part of an elided text
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
    qsizetype end = 0; ///< start of the first line that was left out
};

/// The formats inside [from, end), with positions relative to `from`.
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

/// Breaks a piece of a paragraph into at most `most` lines. Leaves out the last line of a piece
/// that is cut off: that line begins there, but may continue beyond the piece.
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

/// How much of [from, end) to lay out at once.
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

/// Lays out the paragraph [from, end), starting each piece at the line that the previous piece
/// could not finish.
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
        // A piece shorter than a line is tried again with much more text.
        length = piece.lines == 0 ? 4 * length : pieceLengthOf(paragraphs, from, end);
    }
    return made;
}

/// Lays out paragraph by paragraph. Text behind the last needed line is never shaped.
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
    ::layOut(Paragraphs::of(text, blocks, plainText, font), font, layoutWidth(maxWidth, wordWrap),
             lines);
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
    Paragraphs paragraphs = Paragraphs::of(text, blocks, plainText, font);
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
