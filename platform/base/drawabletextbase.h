#pragma once

#include "base/base_export.h"
#include "base/usertextblock.h"

#include <QFont>
#include <QSizeF>
#include <QString>
#include <QTextLayout>

#include <memory>
#include <vector>

/// Text layout for message views.
class MODELBASE_BASE_EXPORT DrawableTextBase
{
public:
    struct Measured {
        QSizeF size{0, 0};   ///< pixels
        int lineCount = 0;   ///< visible lines; 0 for an empty text
        bool elided = false; ///< lines were left out because of `maxRowCount`
    };

    /// Lays `text` out with the formats of `blocks` and returns its size.
    ///
    /// The width is that of the widest line, without the spaces at which it was wrapped; the height
    /// is the sum of the lines' heights, each with its font's leading. CR LF and the mandatory
    /// breaks of UAX #14 (LF, VT, FF, CR, NEL, U+2028, U+2029) end a line; a text that ends in one
    /// of them has an empty last line. Other control characters, except tabs, are invisible.
    ///
    /// @param maxWidth    pixels to wrap at; 0 or less means no limit, which is some 4 million
    /// @param maxRowCount a text of more lines is elided to this many; 0 or less: never
    /// @param lineSpacing pixels added between two lines
    /// @param rowLimit    maximum number of lines to lay out; 0 or less: all. Nothing is "elided"
    ///                    then, since the text cannot be expanded.
    /// @param wordWrap    break at word boundaries (and inside words that are wider than a line);
    ///                    false breaks at line feeds only
    /// @param plainText   false when the text is shown as emoji only: then entity formats are not
    ///                    applied, and of the blocks only custom emoji count
    /// @param tolerance   a text that exceeds maxRowCount by no more than this many lines is not
    ///                    elided, so that expanding a message never reveals just a line or two
    ///
    /// A custom emoji is as wide as a line is high, whatever text it stands for, and lines may
    /// break on either side of it; of overlapping custom emoji the first one is shown. A code or
    /// quote block stands on lines of its own, even if it begins or ends inside a line; a newline
    /// at its end ends its last line. A collapsed block shows its first `collapsedRowCount` lines;
    /// where collapsed blocks overlap, the shared text belongs to the first one. Blocks outside the
    /// text are ignored.
    ///
    /// For any text, measuring and drawing take no longer than for ordinary words of these scripts
    /// with `mostLength` code units: see the bounds below. The exception are emoji of several code
    /// points: `mostLength` of these may take a second or two. maxWidth is exceeded only if a
    /// single letter is wider.
    ///
    /// Thread: needs a QGuiApplication; otherwise reentrant.
    static Measured calculateSize(const QString &text, double maxWidth, const QFont &font,
                                  int maxRowCount, double lineSpacing, int rowLimit,
                                  const UserTextBlocks &blocks, bool wordWrap, bool plainText,
                                  int tolerance);

    /// A text laid out to be drawn. Move only.
    struct MODELBASE_BASE_EXPORT Layout {
        struct Line {
            /// Positioned relative to the text's top left corner; lines of right-to-left paragraphs
            /// end at the text's right edge. Its positions count from `offset`.
            QTextLine line;
            qsizetype offset = 0; ///< in `text`
            bool isRightToLeft = false;
        };
        /// A custom emoji; `text` has an invisible placeholder letter there.
        struct Picture {
            qsizetype at = 0; ///< of the letter, in `text`
            int block = 0;    ///< index of its block
        };

        Measured measured;
        QString text;                  ///< the text laid out, with added newlines and placeholders
        std::vector<Line> lines;       ///< the visible ones
        std::vector<Picture> pictures; ///< in order

        /// The position in `text` of a position in the given text; positions outside are clamped.
        qsizetype shownAt(qsizetype position) const;

    private:
        friend class DrawableTextBase;
        std::vector<qsizetype> m_movedTo; ///< empty: all positions are unchanged
        std::vector<std::unique_ptr<QTextLayout>> m_layouts;
    };

    /// Lays out a text as calculateSize() measures it: the same arguments give the same size and
    /// line count, and the lines themselves. The caller draws colours, underlines and the like
    /// (QTextLine::glyphRuns()); they do not change the layout.
    static Layout layOut(const QString &text, double maxWidth, const QFont &font, int maxRowCount,
                         double lineSpacing, int rowLimit, const UserTextBlocks &blocks,
                         bool wordWrap, bool plainText, int tolerance);

    // Bounds for a text, in measuring and drawing. Anything beyond is not shown.

    /// Code units. An ellipsis marks the cut.
    static constexpr int mostLength = 1 << 15;
    /// More than any view can show: at 8 pixels a line they exceed the maximum height of an item.
    static constexpr int mostLines = 4096;
    /// Blocks; the first ones count.
    static constexpr int mostBlocks = 4096;
    /// Marks and other zero-width characters on one letter. No language needs nearly as many.
    static constexpr int mostMarks = 16;
    /// Letters that form one character together, as in Hangul.
    static constexpr int mostLetters = 8;
    /// Emoji joined into one; a longer chain is split. No picture in use joins more.
    static constexpr int mostJoined = 4;

    /// Visible lines of a collapsed code or quote block.
    static constexpr int collapsedRowCount = 3;
};
