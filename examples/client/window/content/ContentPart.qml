import QtQuick
import im.modelbase

/// The view of one kind of content. ContentView gives it the item's measured size.
Item {
    required property ContentItem item
    /// The width in pixels with which the item was measured.
    required property real maxWidth
    /// The maximum width of a message in pixels.
    readonly property real messageWidth: Math.min(maxWidth, AccountManager.maxMsgItemWidth)

    /// The width of a file's view in pixels, without its caption.
    readonly property real mediaWidth: {
        void item?.contentWidth // evaluated again when the item is measured again
        return (item as FileItem)?.mediaSize(maxWidth, false).width ?? 0
    }

    /// Texts of more lines are elided to this many; 0: never. The same value as for measuring.
    property int maxRowCount: 0

    /// A link, mention, tag, ... in a text was clicked; see MessageText.
    signal activated(type: int, text: string, data: var)
    /// The content itself was clicked: open the file, the place, the card.
    signal opened(item: ContentItem)
    /// The rest of an elided text was requested.
    signal expanded
    /// An option of a poll was clicked; the application sends the vote.
    signal voted(option: int)
}
