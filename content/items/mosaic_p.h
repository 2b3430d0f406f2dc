#pragma once

#include <QList>
#include <QRect>
#include <QSize>

/// How several pictures are laid out as one: in rows, in their order, each row as wide as the whole
/// and all its cells equally high. Depends on nothing but its arguments. In pixels.
namespace Mosaic
{

/// Between two cells.
constexpr int spacing = 2;

struct Layout {
    QSize size;         ///< of the whole
    QList<QRect> cells; ///< one each picture

    bool operator==(const Layout &) const = default;
};

/// `natural` are the pictures' own sizes; of a size that is none (0, negative) a square is assumed,
/// and proportions beyond 2:1 are laid out as that: views crop to the cell. No side of a cell is
/// less than `leastSide`. The whole is as wide as `width`, which is no less than that either; it is
/// no higher than `greatestHeight` unless so many pictures cannot be tapped at that height.
Layout layOut(const QList<QSize> &natural, int width, int greatestHeight, int leastSide);

} // namespace Mosaic
