#include "content/items/mosaic_p.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace
{

constexpr double greatestRatio = 2.0;
/// More cells than that in a row only where the height asks for it.
constexpr int usualCells = 4;

double ratio(QSize natural)
{
    if (natural.isEmpty())
        return 1;
    return std::clamp(double(natural.width()) / natural.height(), 1 / greatestRatio, greatestRatio);
}

/// The height at which a row's pictures are seen whole.
double rowHeight(double ratios, int cells, int width)
{
    return (width - Mosaic::spacing * (cells - 1)) / ratios;
}

/// Where the rows begin, and behind the last one its end: the division whose rows are nearest to
/// `wanted` high, by the squares of the ratios' logarithms.
QList<int> divide(const QList<double> &ratios, int width, double wanted, int most)
{
    const int count = int(ratios.size());
    QList<double> costs(count + 1, std::numeric_limits<double>::max());
    QList<int> begins(count + 1, 0);
    costs[0] = 0;
    for (int end = 1; end <= count; ++end) {
        double sum = 0;
        for (int begin = end - 1; begin >= std::max(0, end - most); --begin) {
            sum += ratios.at(begin);
            const double off = std::log(rowHeight(sum, end - begin, width) / wanted);
            const double cost = costs.at(begin) + off * off;
            if (cost < costs.at(end)) {
                costs[end] = cost;
                begins[end] = begin;
            }
        }
    }
    QList<int> rows;
    for (int end = count; end > 0; end = begins.at(end))
        rows.prepend(end);
    rows.prepend(0);
    return rows;
}

double sum(const QList<double> &values)
{
    return std::accumulate(values.begin(), values.end(), 0.0);
}

/// Shares `length` out by `weights`, at least `least` each, and no pixel left over.
QList<int> share(const QList<double> &weights, int length, int least)
{
    double shared = sum(weights);
    double left = length;
    QList<bool> isLeast(weights.size(), false);
    for (bool again = true; again;) {
        again = false;
        for (qsizetype i = 0; i < weights.size(); ++i) {
            if (isLeast.at(i) || weights.at(i) * left >= least * shared)
                continue;
            isLeast[i] = again = true;
            left -= least;
            shared -= weights.at(i);
        }
    }
    QList<int> parts;
    for (qsizetype i = 0; i < weights.size(); ++i)
        parts.append(isLeast.at(i) ? least : int(weights.at(i) * left / shared));
    int rest = length - std::accumulate(parts.begin(), parts.end(), 0);
    for (qsizetype i = 0; rest > 0; i = (i + 1) % parts.size(), --rest)
        ++parts[i];
    return parts;
}

} // namespace

Mosaic::Layout Mosaic::layOut(const QList<QSize> &natural, int width, int greatestHeight,
                              int leastSide)
{
    if (natural.isEmpty())
        return {};
    const int count = int(natural.size());
    width = std::max(width, leastSide);
    QList<double> ratios;
    for (QSize size : natural)
        ratios.append(ratio(size));

    // So many cells side by side that the rows fit, if they can be tapped then.
    const int fitting = (width + spacing) / (leastSide + spacing);
    const int rowsAtMost = std::max(1, (greatestHeight + spacing) / (leastSide + spacing));
    const int needed = (count + rowsAtMost - 1) / rowsAtMost;
    const int most = std::clamp(std::max(usualCells, needed), 1, fitting);
    const double wanted = width / (count <= 4 ? 2.0 : 3.0);
    // The height at which the pictures, whole, cover no more than all the room there is.
    const double fair = std::sqrt(double(width) * greatestHeight / sum(ratios));
    QList<int> rows =
        divide(ratios, width, std::max<double>(leastSide, std::min(wanted, fair)), most);
    if (rows.size() - 1 > rowsAtMost) {
        const int rowCount = (count + most - 1) / most;
        rows = {0};
        for (int row = 1; row <= rowCount; ++row)
            rows.append(int(qint64(count) * row / rowCount));
    }

    QList<double> wantedHeights;
    const double highest = std::max(leastSide, width * 3 / 4);
    for (qsizetype row = 0; row + 1 < rows.size(); ++row) {
        const int cells = rows.at(row + 1) - rows.at(row);
        wantedHeights.append(std::clamp<double>(
            rowHeight(sum(ratios.mid(rows.at(row), cells)), cells, width), leastSide, highest));
    }
    const int rowCount = int(wantedHeights.size());
    const int room = greatestHeight - spacing * (rowCount - 1);
    const int height = std::max(leastSide * rowCount, std::min(room, int(sum(wantedHeights))));
    const QList<int> heights = share(wantedHeights, height, leastSide);

    Layout layout;
    int y = 0;
    for (int row = 0; row < rowCount; ++row) {
        const int begin = rows.at(row);
        const int cells = rows.at(row + 1) - begin;
        int x = 0;
        for (int cellWidth :
             share(ratios.mid(begin, cells), width - spacing * (cells - 1), leastSide)) {
            layout.cells.append(QRect(x, y, cellWidth, heights.at(row)));
            x += cellWidth + spacing;
        }
        y += heights.at(row) + spacing;
    }
    layout.size = {width, y - spacing};
    return layout;
}
