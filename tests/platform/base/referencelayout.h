#pragma once

#include "base/drawabletextbase.h"

#include <QTextLayout>

#include <algorithm>

/// A text measured by hand: every paragraph in a layout of its own, all of it at once.
inline DrawableTextBase::Measured referenceLayout(QString text, double width, const QFont &font)
{
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    for (QChar &c : text) {
        if (QStringLiteral("\r\v\f\x85\u2028\u2029").contains(c))
            c = u'\n';
        else if (c.category() == QChar::Other_Control && c != u'\n' && c != u'\t')
            c = QChar(0x200B);
    }
    DrawableTextBase::Measured all;
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    for (const QString &paragraph : text.isEmpty() ? QStringList() : text.split(u'\n')) {
        QTextLayout layout(paragraph, font);
        layout.setTextOption(option);
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLeadingIncluded(true);
            line.setLineWidth(width > 0 ? width : 1000000);
            all.size = {std::max(all.size.width(), line.naturalTextWidth()),
                        all.size.height() + line.height()};
            ++all.lineCount;
        }
        layout.endLayout();
    }
    return all;
}
