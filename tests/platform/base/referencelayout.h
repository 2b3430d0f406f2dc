#pragma once

#include "base/drawabletextbase.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QTextLayout>

#include <algorithm>

/// A text laid out by hand: each character looked at for itself, every paragraph in a layout of its
/// own, all of it at once. It knows no bounds.
class ReferenceLayout
{
public:
    QString text;              ///< what is laid out
    QList<qsizetype> shownAt;  ///< in `text`, of each position of the given one
    QList<qsizetype> pictures; ///< in `text`

    explicit ReferenceLayout(const QString &given, const QFont &font,
                             const UserTextBlocks &blocks = {}, bool withFormats = true)
        : m_font(font)
    {
        for (qsizetype at = 0; at < given.size();) {
            const bool isNewline = newlines.contains(given[at]);
            const UserTextBlock *picture = nullptr;
            bool isBreak = false;
            int styles = 0;
            for (const UserTextBlock &block : blocks) {
                const auto [from, len] = block.clampedTo(given.size());
                if (block.type == TextEntityType::CustomEmoji && len > 0 && from == at && !picture)
                    picture = &block;
                if (!withFormats || len == 0)
                    continue;
                if (standsAlone(block))
                    isBreak |= from == at || (from + len == at && !isNewline);
                if (from <= at && at < from + len)
                    styles |= styleOf(block.type);
            }
            if (isBreak && !text.isEmpty() && !text.endsWith(u'\n'))
                append(u'\n', {});
            shownAt.append(text.size());
            qsizetype next = at + 1;
            if (picture) {
                append(space, formatOf(styles));
                pictures.append(text.size());
                QTextCharFormat square;
                const QFontMetricsF metrics(font);
                square.setFontLetterSpacingType(QFont::AbsoluteSpacing);
                square.setFontLetterSpacing(metrics.height() - metrics.horizontalAdvance(u'n'));
                append(u'n', square);
                append(space, formatOf(styles));
                next = at + picture->clampedTo(given.size()).len;
            } else {
                const bool isSeen = given[at] == u'\t'
                    || (given[at].category() != QChar::Other_Control
                        && given[at] != QChar::ObjectReplacementCharacter);
                append(isNewline ? QChar(u'\n') : isSeen ? given[at] : space, formatOf(styles));
                next += int(given[at] == u'\r' && next < given.size() && given[next] == u'\n');
            }
            while (++at < next)
                shownAt.append(text.size());
        }
        shownAt.append(text.size());
        QList<Range> spans;
        for (const UserTextBlock &block : blocks) {
            const auto [from, len] = block.clampedTo(given.size());
            if (withFormats && standsAlone(block)
                && block.data.toMap().value(QStringLiteral("collapsed")).toBool())
                spans.append({shownAt[from], shownAt[from + len]});
        }
        std::stable_sort(spans.begin(), spans.end(),
                         [](const Range &a, const Range &b) { return a.first < b.first; });
        qsizetype last = -1; // an earlier one has what they share
        for (auto [from, end] : spans) {
            from = std::max(from, last + 1);
            end -= int(end > from && text[end - 1] == u'\n');
            const bool isWhole = (from == 0 || text[from - 1] == u'\n')
                && (end == text.size() || text[end] == u'\n');
            if (from < end && isWhole)
                m_collapsed.append({from, last = end});
        }
    }

    DrawableTextBase::Measured measure(double width, int maxRowCount = 0, int tolerance = 0,
                                       int rowLimit = 0, double lineSpacing = 0) const
    {
        const QList<QSizeF> lines = linesAt(width);
        DrawableTextBase::Measured all;
        qsizetype count = rowLimit > 0 ? std::min<qsizetype>(rowLimit, lines.size()) : lines.size();
        all.elided = maxRowCount > 0 && count > qint64(maxRowCount) + std::max(0, tolerance);
        count = all.elided ? maxRowCount : count;
        all.lineCount = int(count);
        all.size.setHeight(lineSpacing * double(std::max<qsizetype>(0, count - 1)));
        for (const QSizeF &line : lines.first(count))
            all.size = {std::max(all.size.width(), line.width()),
                        all.size.height() + line.height()};
        return all;
    }

private:
    using Range = std::pair<qsizetype, qsizetype>;
    static constexpr QChar space{0x200B};
    inline static const QString newlines = QStringLiteral("\n\r\v\f\x85\u2028\u2029");

    static bool standsAlone(const UserTextBlock &block)
    {
        return block.type == TextEntityType::CodeBlock || block.type == TextEntityType::Quoted;
    }
    enum Style { Bold = 1, Italic = 2, Monospace = 4 };
    static int styleOf(qint32 type)
    {
        using namespace TextEntityType;
        return type == TextEntityType::Bold                          ? Style::Bold
            : type == TextEntityType::Italic                         ? Style::Italic
            : type == TextEntityType::Monospace || type == CodeBlock ? Style::Monospace
                                                                     : 0;
    }
    static QTextCharFormat formatOf(int styles)
    {
        QTextCharFormat format;
        if (styles & Bold)
            format.setFontWeight(QFont::Bold);
        if (styles & Italic)
            format.setFontItalic(true);
        if (styles & Monospace)
            format.setFontFamilies(
                {QFontInfo(QFontDatabase::systemFont(QFontDatabase::FixedFont)).family()});
        return format;
    }
    void append(QChar c, const QTextCharFormat &format)
    {
        text.append(c);
        m_formats.append(format);
    }

    QList<QSizeF> linesAt(double width) const
    {
        QTextOption option;
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        QList<QSizeF> lines;
        QList<int> shown(m_collapsed.size() + 1); // of the collapsed ones, and of the others
        for (qsizetype at = 0, end = 0; at <= text.size() && !text.isEmpty(); at = end + 1) {
            end = text.indexOf(u'\n', at);
            end = end < 0 ? text.size() : end;
            QList<QTextLayout::FormatRange> ranges;
            for (int i = 0; i < end - at; ++i) {
                const QTextCharFormat &format = m_formats[at + i];
                if (format.isEmpty())
                    continue;
                if (!ranges.isEmpty() && format == m_formats[at + i - 1])
                    ++ranges.last().length;
                else
                    ranges.append({i, 1, format});
            }
            const qsizetype block = std::find_if(m_collapsed.begin(), m_collapsed.end(),
                                                 [at](const Range &range) {
                                                     return range.first <= at && at <= range.second;
                                                 })
                - m_collapsed.begin();
            const auto isFull = [&] {
                return block < m_collapsed.size()
                    && shown[block] == DrawableTextBase::collapsedRowCount;
            };
            QTextLayout layout(text.sliced(at, end - at), m_font);
            layout.setTextOption(option);
            layout.setFormats(ranges);
            layout.beginLayout();
            for (QTextLine line = layout.createLine(); line.isValid() && !isFull();
                 line = layout.createLine()) {
                ++shown[block];
                line.setLeadingIncluded(true);
                line.setLineWidth(width > 0 ? width : 1000000);
                lines.append({line.naturalTextWidth(), line.height()});
            }
            layout.endLayout();
        }
        return lines;
    }

    const QFont m_font;
    QList<QTextCharFormat> m_formats; // of each character
    QList<Range> m_collapsed;         // whole paragraphs
};
