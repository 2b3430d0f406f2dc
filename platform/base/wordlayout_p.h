#pragma once

#include "base/base_export.h"
#include "base/linebreaker_p.h"
#include "base/wordcache_p.h"

#include <QFont>
#include <QList>
#include <QString>
#include <QTextLayout>

#include <vector>

/// Lays out texts that are made of known words, without shaping them.
///
/// QTextLayout remains the truth: a WordCache measures each word by it, and a LineBreaker then
/// breaks lines exactly as it breaks them. Only texts are taken whose words are shaped
/// independently of each other: all in one direction, in scripts that are written with spaces or in
/// ideographs. A text, or a width, for which the numbers that are kept do not decide every line is
/// left to the full layout.
///
/// Thread: one a thread.
class BASE_EXPORT WordLayout
{
public:
    using Line = LineBreaker::Line;
    using Formats = QList<QTextLayout::FormatRange>;

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
