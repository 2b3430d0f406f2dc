#pragma once

#include "base/base_export.h"
#include "base/text/linebreaker_p.h"
#include "base/text/wordcache_p.h"

#include <QFont>
#include <QList>
#include <QString>
#include <QTextLayout>

#include <vector>

/// Lays out texts made of known words, without shaping them.
///
/// Guarantee: for every paragraph, font, formats and width, the result is either nothing, and the
/// caller uses a QTextLayout; or the lines of a QTextLayout with WrapAtWordBoundaryOrAnywhere, each
/// with the same width and height to 1/64 pixel. So a view that draws by QTextLayout fits the size
/// measured here.
///
/// Method: QTextLayout remains the reference. A WordCache measures each word with it, together with
/// the surrounding spaces, and a LineBreaker adds these numbers in the order, unit and rounding of
/// QTextLayout: widths of glyphs, the bearing of the last one, the greatest ascent, descent and
/// leading of a line, spaces that hang over its end. It accepts only texts whose words are shaped
/// independently of each other: in one direction, in scripts that are written with spaces or in
/// ideographs, without tabs, objects or characters not covered by a rule. A full layout is used for
/// a text or width for which the cached numbers do not decide every line: a line that ends within
/// the bearing of a glyph, a word whose parts do not add up, too many formats.
///
/// It imitates oddities of Qt 6.4 that another version may drop:
/// - A line's width includes the bearing of its last glyph. At the end of a run of one script or
///   format, that glyph is looked up among those of the next run, by its index there.
/// - Every line of a run has the height of the whole run, and a line that breaks inside a word
///   keeps the height that it had before it was filled again.
/// - Spaces at the end of a paragraph count only if there is room for them.
///
/// Proof: the corpus test (tst_layoutcorpus) lays out some thousand messages in all scripts for
/// which the machine has fonts, at many widths and with formats, both ways, and requires every line
/// to be equal. In addition each process proves it on a few short texts in its own font (WordProof)
/// before using it: with a Qt that lays out differently, every text takes the full layout, which is
/// slower but always right. A build may omit it (-DMODELBASE_WORD_CACHE=OFF).
///
/// Thread: one instance a thread.
class MODELBASE_BASE_EXPORT WordLayout
{
public:
    using Line = LineBreaker::Line;
    using Formats = QList<QTextLayout::FormatRange>;

    /// Null if the build has none, if the proof failed, and when the thread ends.
    static WordLayout *ofThisThread();

    /// Whether this thread uses it at all: a test compares both ways.
    void setEnabled(bool isEnabled) { m_isEnabled = isEnabled; }

    /// Breaks a paragraph into lines of `width` pixels. The formats are sorted and do not overlap.
    /// @return nothing if a full layout is needed; valid until the next call
    const std::vector<Line> *breakLines(const QString &paragraph, const QFont &font,
                                        const Formats &formats, double width);

    /// Forgets every word.
    void clear();

    /// The memory used by its words, in bytes.
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
