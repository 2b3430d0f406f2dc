#pragma once

#include "base/drawabletextbase.h"

#include <QFont>
#include <QList>
#include <QString>
#include <QTextLayout>

#include <vector>

/// The only newline in a text that is ready for layout.
constexpr QChar paragraphSeparator = u'\n';

/// A text ready for layout: pictures have their width, and paragraphs have one kind of end.
struct Paragraphs {
    /// @param withFormats whether entities that change the width or height of their text count;
    ///                    pictures always do
    static Paragraphs of(const QString &text, const UserTextBlocks &blocks, bool withFormats,
                         const QFont &font);

    /// Whole paragraphs, without the separator after the last one.
    struct Range {
        qsizetype from = 0;
        qsizetype end = 0;
    };

    QString text;
    QList<QTextLayout::FormatRange> formats; ///< sorted, do not overlap
    std::vector<Range> collapsed;            ///< sorted, do not overlap
    std::vector<DrawableTextBase::Layout::Picture> pictures;
    std::vector<qsizetype> movedTo; ///< of each position of the given text; empty: all unchanged
};
