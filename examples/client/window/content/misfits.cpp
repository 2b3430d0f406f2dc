#include "misfits.h"

#include "drawntext.h"

#include <QQuickItem>

namespace
{

constexpr double tolerance = DrawnText::overhang + 2; // pixels on each side

bool isMessageText(const QQuickItem &item)
{
    return item.inherits("MessageText");
}

/// The drawn size of a text; empty if it has none.
QSizeF drawnSize(const QQuickItem &text)
{
    if (isMessageText(text))
        return {text.implicitWidth(), text.implicitHeight()};
    if (text.property("text").toString().isEmpty())
        return {};
    return {text.property("paintedWidth").toDouble(), text.property("paintedHeight").toDouble()};
}

/// `content` is the content of the item; null outside contents.
void find(const QQuickItem &item, const QQuickItem *content, QStringList &misfits)
{
    if (!item.isVisible())
        return;
    if (content && (isMessageText(item) || item.inherits("QQuickText"))) {
        const QSizeF size = drawnSize(item);
        const QRectF rect = item.mapRectToItem(content, {{}, size});
        if (size.height() > 0
            && (rect.left() < -tolerance || rect.right() > content->width() + tolerance
                || rect.bottom() > content->height() + tolerance))
            misfits.append(QStringLiteral("\"%1\" from %2 to %3 of %4 pixels, down to %5 of %6")
                               .arg(item.property("text").toString())
                               .arg(rect.left())
                               .arg(rect.right())
                               .arg(content->width())
                               .arg(rect.bottom())
                               .arg(content->height()));
    }
    const bool isContent =
        QByteArrayView(item.metaObject()->className()).startsWith("ContentView_QMLTYPE");
    const QList<QQuickItem *> children = item.childItems();
    for (const QQuickItem *child : children)
        find(*child, isContent ? &item : content, misfits);
}

} // namespace

QStringList findMisfits(const QQuickItem &root)
{
    QStringList misfits;
    find(root, nullptr, misfits);
    return misfits;
}
