import QtQuick
import im.modelbase

/// A text, or emoji shown large.
ContentPart {
    id: view

    readonly property bool isLarge: item?.type === ContentItem.LargeEmojiText
                                    || item?.type === ContentItem.EmojiGame

    LongText {
        x: view.isLarge ? Math.round((view.width - implicitWidth) / 2) : 0
        y: view.isLarge ? Math.round((view.height - implicitHeight) / 2) : 0
        item: view.item
        textWidth: view.maxWidth
        maxRowCount: view.maxRowCount
        // One emoji in the square that the item reserves.
        pixelSize: view.item?.type === ContentItem.EmojiGame ? 72 : 0
        onActivated: (type, text, data) => view.activated(type, text, data)
        onExpanded: view.expanded()
    }
}
