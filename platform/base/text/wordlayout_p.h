#pragma once

#include "base/base_export.h"
#include "base/text/linebreaker_p.h"
#include "base/text/wordcache_p.h"

#include <QFont>
#include <QList>
#include <QString>
#include <QTextLayout>

#include <vector>

/// Lays out texts that are made of known words, without shaping them.
///
/// What it promises: for every paragraph, font, formats and width, either nothing, and the caller
/// makes a QTextLayout; or the lines that a QTextLayout with WrapAtWordBoundaryOrAnywhere makes, each
/// of the same width and height to the last 64th of a pixel. So a view that draws by QTextLayout
/// fits the size that was measured here.
///
/// How: QTextLayout remains the truth. A WordCache measures each word by it, together with the
/// spaces around it, and a LineBreaker adds these numbers up in the order, the unit and the rounding
/// in which QTextLayout adds them: widths of glyphs, the bearing of the last one, the greatest
/// ascent, descent and leading of a line, spaces that hang over its end. Only texts are taken whose
/// words are shaped independently of each other: all in one direction, in scripts that are written
/// with spaces or in ideographs, without tabs, objects or characters that no rule here knows. A
/// text, or a width, for which the numbers that are kept do not decide every line is left to the
/// full layout: a line that ends within the bearing of a glyph, a word whose parts do not add up to
/// it, too many formats.
///
/// What it imitates includes oddities of Qt 6.4 that another version may drop:
/// - A line's width counts the bearing of its last glyph. At the end of a run of one script or format,
///   that glyph is looked up among those of the next run, by its number there.
/// - Every line of a run has the height of the whole run, and one that breaks inside of a word keeps
///   the height that it had before it was filled anew.
/// - Spaces at the end of a paragraph count only where there is room for them.
///
/// How it is proven: the test of the corpus (tst_layoutcorpus) lays out some thousand messages in
/// all scripts that fonts of the machine have, at many widths and with formats, both ways, and
/// wants every line the same. And each process proves it anew, on a few short texts in its own font
/// (WordProof), before it trusts it: under a Qt that lays out otherwise, every text takes the full
/// layout, which is slower and never wrong. A build may leave it out (-DMODELBASE_WORD_CACHE=OFF).
///
/// Thread: one a thread.
class MODELBASE_BASE_EXPORT WordLayout
{
public:
    using Line = LineBreaker::Line;
    using Formats = QList<QTextLayout::FormatRange>;

    /// Null where the build has none, where it has not proven itself, and where the thread ends.
    static WordLayout *ofThisThread();

    /// Whether this thread asks it at all: a test compares with and without.
    void setEnabled(bool isEnabled) { m_isEnabled = isEnabled; }

    /// Breaks a paragraph into lines of `width` pixels. The formats are sorted and do not overlap.
    /// @return nothing where it takes a full layout; valid until the next call
    const std::vector<Line> *breakLines(const QString &paragraph, const QFont &font,
                                        const Formats &formats, double width);

    /// Forgets every word.
    void clear();

    /// What its words take, in bytes.
    size_t bytes() const { return m_words.bytes(); }

private:
    /// A run that QTextLayout shapes at once.
    struct Item {
        qsizetype from = 0;
        qsizetype end = 0;
        QChar::Script script = QChar::Script_Common;
        uint8_t format = 0;
    };

    bool itemize(const QString &text, const Formats &formats);
    bool splitIntoWords(const QString &text);
    bool measureWords();

    WordCache m_words;
    bool m_isEnabled = true;

    // Working space of one call.
    uint8_t m_font = 0;
    bool m_isRightToLeft = false;
    std::vector<Item> m_items;
    std::vector<LineBreaker::Unit> m_units;
    std::vector<Line> m_lines;
};
