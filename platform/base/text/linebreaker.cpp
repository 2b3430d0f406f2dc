#include "base/text/linebreaker_p.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace
{

using Fixed = LineBreaker::Fixed;
using Part = LineBreaker::Part;

/// The advance of the clusters between two offsets, which count from the end of the word's spaces.
Fixed advanceBetween(const std::vector<Part> &clusters, int from, int to)
{
    Fixed advance = 0;
    int at = 0;
    for (const Part &cluster : clusters) {
        if (at >= from && at < to)
            advance += cluster.advance;
        at += cluster.length;
    }
    return advance;
}

/// The bearing of the part that ends at `offset`.
std::optional<Fixed> bearingAt(const std::vector<Part> &parts, int offset)
{
    int end = 0;
    for (const Part &part : parts) {
        end += part.length;
        if (end == offset)
            return part.bearing;
    }
    return std::nullopt;
}

} // namespace

LineBreaker::LineBreaker(WordCache &cache, std::span<const Unit> units, size_t itemCount,
                         double width)
    : m_cache(cache), m_units(units), m_width(int(std::min(width, double(1 << 22)) * 64)),
      m_metrics(itemCount)
{
    for (const Unit &unit : units) {
        const Metrics &word = unit.word().metrics;
        Metrics &item = m_metrics[unit.item];
        item.ascent = std::max(item.ascent, word.ascent);
        item.descent = std::max(item.descent, word.descent);
        item.leading = std::max(item.leading, word.leading);
    }
}

bool LineBreaker::breakAll(std::vector<Line> &lines)
{
    lines.clear();
    for (Position at; at.unit < m_units.size();) {
        const std::optional<Position> after = breakLine(at, lines.emplace_back());
        if (!after)
            return false;
        at = *after;
    }
    return true;
}

void LineBreaker::merge(Metrics &into, const Metrics &other)
{
    into.leading = std::max(into.leading + into.ascent, other.leading + other.ascent)
        - std::max(into.ascent, other.ascent);
    into.ascent = std::max(into.ascent, other.ascent);
    into.descent = std::max(into.descent, other.descent);
}

/// @return where the next line begins, or nothing if that is undecided
std::optional<LineBreaker::Position> LineBreaker::breakLine(const Position &from, Line &line)
{
    m_filling = {};
    std::optional<Position> after = fill(from, false);
    if (after && m_natural > m_width) {
        // One word is too wide, so the line breaks inside it. It keeps its previous height.
        const Metrics metrics = m_filling.lineMetrics;
        m_filling = {};
        m_filling.lineMetrics = metrics;
        after = fill(from, true);
    }
    const Metrics &metrics = m_filling.lineMetrics;
    const Fixed height = metrics.ascent + metrics.descent + std::max(0, metrics.leading);
    line = {m_natural / 64.0, std::ceil(height / 64.0)};
    return after;
}

/// Fills a line, and sets its natural width.
/// @param anywhere whether it may break inside words
/// @return where the next line begins, or nothing if that is undecided
std::optional<LineBreaker::Position> LineBreaker::fill(const Position &from, bool anywhere)
{
    Filling &filling = m_filling;
    std::optional<Position> wordStart;
    bool endsInSpace = false;
    Fixed lastBearing = 0;

    for (Position at = from; at.unit < m_units.size(); at = {at.unit + 1, 0}) {
        const Unit &unit = m_units[at.unit];
        const Word &word = unit.word();
        merge(filling.wordMetrics, m_metrics[unit.item]);
        if (word.spaceCount > at.offset) {
            filling.space += word.spaceAdvance;
            if (filling.space > m_width)
                return std::nullopt;
            endsInSpace = true;
        }
        if (word.segments.empty())
            continue;
        if ((anywhere || at.offset > word.spaceCount) && !haveClusters(unit))
            return std::nullopt;

        const std::vector<Part> &parts = anywhere ? word.clusters : word.segments;
        int end = word.spaceCount;
        for (const Part &part : parts) {
            const int begin = std::exchange(end, end + part.length);
            if (end <= at.offset)
                continue; // on the previous line
            const Position start{at.unit, std::max(begin, at.offset)};
            if (!wordStart)
                wordStart = start;
            filling.word += part.advance;
            if (start.offset > begin)
                filling.word -= advanceBetween(word.clusters, begin - word.spaceCount,
                                               start.offset - word.spaceCount);
            lastBearing = part.bearing;
            endsInSpace = false;
            if (!anywhere && &part == &parts.back() && !mayBreakAfter(at.unit))
                break;

            const Fixed taken = filling.line + filling.space + filling.word;
            if (!filling.isEmpty && taken > m_width) {
                const std::optional<Fixed> bearing = bearingBefore(start, part.bearing);
                if (!bearing)
                    return std::nullopt;
                m_natural = filling.line + *bearing;
                return wordStart;
            }
            if (!filling.isEmpty && taken + part.bearing > m_width)
                return std::nullopt;
            merge(filling.lineMetrics, filling.wordMetrics);
            filling.line = taken;
            filling.space = filling.word = 0;
            filling.isEmpty = false;
            wordStart.reset();
        }
    }

    // Spaces at the end count if there is room for them.
    if (filling.isEmpty || filling.line + filling.space <= m_width) {
        filling.line += filling.space;
        merge(filling.lineMetrics, filling.wordMetrics);
    }
    m_natural = filling.line + (endsInSpace ? 0 : lastBearing);
    return Position{m_units.size(), 0};
}

bool LineBreaker::mayBreakAfter(size_t unit) const
{
    return unit + 1 == m_units.size() || m_units[unit + 1].word().spaceCount > 0
        || m_units[unit + 1].mayBreakBefore;
}

/// How far the glyph before a part, the last one on its line, extends beyond its advance.
/// @param ofPart the same of the part itself, which QTextLayout uses if it finds no other
std::optional<Fixed> LineBreaker::bearingBefore(const Position &at, Fixed ofPart)
{
    const Unit &unit = m_units[at.unit];
    const Word &word = unit.word();
    const int offset = at.offset - word.spaceCount;
    if (offset > 0) {
        const std::optional<Fixed> bearing = bearingAt(word.segments, offset);
        return bearing ? bearing : bearingAt(word.clusters, offset);
    }
    if (word.spaceCount > 0)
        return 0;
    const Unit &before = m_units[at.unit - 1];
    if (before.item == unit.item)
        return before.word().segments.empty() ? 0 : before.word().segments.back().bearing;

    // At the end of an item QTextLayout looks up its last glyph among those of the next item, and
    // takes the one with the same index there.
    const std::optional<std::vector<Fixed>> last = glyphBearings(before.item);
    const std::optional<std::vector<Fixed>> here = glyphBearings(unit.item);
    if (!last || !here)
        return std::nullopt;
    return last->size() > here->size() ? ofPart : (*here)[last->size() - 1];
}

/// The bearings of an item's glyphs, if each character is one glyph.
std::optional<std::vector<Fixed>> LineBreaker::glyphBearings(size_t item)
{
    std::vector<Fixed> bearings;
    for (const Unit &unit : m_units) {
        if (unit.item != item)
            continue;
        const Word &word = unit.word();
        bearings.insert(bearings.end(), size_t(word.spaceCount), 0);
        if (word.segments.empty())
            continue;
        if (!haveClusters(unit))
            return std::nullopt;
        for (const Part &cluster : word.clusters) {
            if (cluster.length != 1)
                return std::nullopt;
            bearings.push_back(cluster.bearing);
        }
    }
    return bearings;
}

bool LineBreaker::haveClusters(const Unit &unit)
{
    if (unit.word().clusters.empty())
        m_cache.measureClusters(*unit.entry);
    return !unit.word().clusters.empty();
}
