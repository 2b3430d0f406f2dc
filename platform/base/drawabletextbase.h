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
        int lineCount = 0;   ///< lines that are shown; 0 for an empty text
        bool elided = false; ///< lines were left out because of `maxRowCount`
    };

    /// Lays `text` out with the formats of `blocks` and gives its size.
    ///
    /// Width is that of the widest line, without the spaces at which it was wrapped; height is the
    /// sum of the lines' heights, each with its font's leading. CR LF and the mandatory breaks of
    /// UAX #14 (LF, VT, FF, CR, NEL, U+2028, U+2029) end a line; a text that ends in one of them
    /// has an empty last line. Other control characters, tabs excepted, are not seen.
    ///
    /// @param maxWidth    pixels to wrap at; 0 or less means no limit, which is some 4 million
    /// @param maxRowCount a text of more lines is elided to this many; 0 or less: never
    /// @param lineSpacing pixels added between two lines
    /// @param rowLimit    lines that are laid out at most, whatever the text; 0 or less: all.
    ///                    Nothing is "elided" then, since nobody can expand it.
    /// @param wordWrap    break at word boundaries (and inside words that are wider than a line);
    ///                    false breaks at line feeds only
    /// @param plainText   false when the text is shown as emoji only: entity formats are not
    ///                    applied, and of the blocks only custom emoji count
    /// @param tolerance   a text that exceeds maxRowCount by no more than this many lines is not
    ///                    elided, so that nobody unfolds a message to find two more lines
    ///
    /// A custom emoji is as wide as a line is high, whatever text it stands for, and lines may
    /// break on either side of it; of custom emoji that overlap the first one is shown. A code or
    /// quote block stands on lines of its own, even where it begins or ends inside a line; a
    /// newline at its end is the end of its last line. A collapsed one shows its first
    /// `collapsedRowCount` lines; where collapsed blocks overlap, the text that they share is the
    /// first one's. Blocks outside the text are ignored.
    ///
    /// Whatever somebody sends, measuring and drawing it takes no longer than a text of ordinary
    /// words in these scripts that has `mostLength`: see the bounds below. Emoji of several code
    /// points are the exception; of these, `mostLength` may take a second or two. Only a maxWidth less
    /// than that of one of its letters is exceeded.
    ///
    /// Thread: needs a QGuiApplication; otherwise reentrant.
    static Measured calculateSize(const QString &text, double maxWidth, const QFont &font,
                                  int maxRowCount, double lineSpacing, int rowLimit,
                                  const UserTextBlocks &blocks, bool wordWrap, bool plainText,
                                  int tolerance);

    /// A text laid out to be drawn. Move only.
    struct MODELBASE_BASE_EXPORT Layout {
        struct Line {
            /// At its place, relative to the text's top left corner; lines of right-to-left
            /// paragraphs end at the text's right edge. Its positions count from `offset`.
            QTextLine line;
            qsizetype offset = 0; ///< in `text`
            bool isRightToLeft = false;
        };
        /// A custom emoji, in whose place `text` has a letter that is not meant to be seen.
        struct Picture {
            qsizetype at = 0; ///< of the letter, in `text`
            int block = 0;    ///< index of its block
        };

        Measured measured;
        QString text; ///< what was laid out: newlines are added, pictures stand for their texts
        std::vector<Line> lines;       ///< those that are shown
        std::vector<Picture> pictures; ///< in their order

        /// Where in `text` a position of the given text is; those outside it are clamped.
        qsizetype shownAt(qsizetype position) const;

    private:
        friend class DrawableTextBase;
        std::vector<qsizetype> m_movedTo; ///< empty: nothing was moved
        std::vector<std::unique_ptr<QTextLayout>> m_layouts;
    };

    /// Lays a text out as calculateSize() measures it, for the same arguments: the same size and
    /// line count, the lines themselves. Colours, underlines and the like are left to who draws
    /// (QTextLine::glyphRuns()); they need no other layout.
    static Layout layOut(const QString &text, double maxWidth, const QFont &font, int maxRowCount,
                         double lineSpacing, int rowLimit, const UserTextBlocks &blocks,
                         bool wordWrap, bool plainText, int tolerance);

    // Bounds for a text, in measuring and drawing. What is beyond is not shown.

    /// Code units. An ellipsis stands where the text is cut.
    static constexpr int mostLength = 1 << 15;
    /// More than any view can show: with lines of 8 pixels they are higher than an item may be.
    static constexpr int mostLines = 4096;
    /// Blocks, the first ones.
    static constexpr int mostBlocks = 4096;
    /// Marks, and other characters without a width of their own, on one letter. No language comes
    /// near it.
    static constexpr int mostMarks = 16;
    /// Letters that make one character with each other, as those of Hangul do.
    static constexpr int mostLetters = 8;
    /// Emoji that are joined to one; a longer chain is broken up. No picture in use joins more.
    static constexpr int mostJoined = 4;

    /// Lines that a collapsed code or quote block shows.
    static constexpr int collapsedRowCount = 3;
};
