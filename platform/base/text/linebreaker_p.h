#pragma once

#include "base/text/wordcache_p.h"

#include <optional>
#include <span>
#include <vector>

/// Breaks a paragraph of measured words into lines, with the same steps as QTextLayout. A decision
/// that depends on an internal value of QTextLayout (whether it considers a glyph's bearing at all)
/// is left undecided here.
class LineBreaker
{
public:
    using Fixed = WordCache::Fixed;
    using Metrics = WordCache::Metrics;
    using Part = WordCache::Part;
    using Word = WordCache::Word;

    struct Line {
        double width = 0;  ///< pixels, as QTextLine::naturalTextWidth()
        double height = 0; ///< pixels, with the leading
    };

    /// A word and its position in a paragraph.
    struct Unit {
        WordCache::Entry *entry = nullptr;
        size_t item = 0; ///< its run, which QTextLayout shapes at once
        bool mayBreakBefore = false;

        const Word &word() const { return entry->second; }
    };

    /// @param itemCount the number of items of the units
    LineBreaker(WordCache &cache, std::span<const Unit> units, size_t itemCount, double width);

    /// @return whether every line is decided
    bool breakAll(std::vector<Line> &lines);

private:
    struct Position {
        size_t unit = 0;
        int offset = 0; ///< code units from its beginning, spaces included
    };

    /// The state of the line that is being filled.
    struct Filling {
        Fixed line = 0;  ///< accepted width
        Fixed space = 0; ///< of the spaces behind that
        Fixed word = 0;  ///< behind those, up to the next possible break
        Metrics lineMetrics;
        Metrics wordMetrics;
        bool isEmpty = true;
    };

    static void merge(Metrics &into, const Metrics &other);

    std::optional<Position> breakLine(const Position &from, Line &line);
    std::optional<Position> fill(const Position &from, bool anywhere);
    bool mayBreakAfter(size_t unit) const;
    std::optional<Fixed> bearingBefore(const Position &at, Fixed ofPart);
    std::optional<std::vector<Fixed>> glyphBearings(size_t item);
    bool haveClusters(const Unit &unit);

    WordCache &m_cache;
    const std::span<const Unit> m_units;
    const Fixed m_width;
    std::vector<Metrics> m_metrics; ///< of each item
    Filling m_filling;
    Fixed m_natural = 0; ///< the width of the line that has been filled
};
