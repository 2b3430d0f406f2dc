import QtQuick
import im.modelbase

/// What shows one kind of content. ContentView makes it as large as the item was measured.
Item {
    required property ContentItem item
    /// Pixels that the item was measured with.
    required property real maxWidth
    /// Pixels that a message may take.
    readonly property real messageWidth: Math.min(maxWidth, AccountManager.maxMsgItemWidth)

    /// Pixels that what a file shows is wide, without its caption.
    readonly property real mediaWidth: {
        void item?.contentWidth // anew when the item was measured anew
        return (item as FileItem)?.mediaSize(maxWidth, false).width ?? 0
    }

    /// Texts of more lines are shown elided to that many; 0: never. As it was given for measuring.
    property int maxRowCount: 0

    /// A link, mention, tag, ... in a text was clicked; see MessageText.
    signal activated(type: int, text: string, data: var)
    /// The content itself: open the file, the place, the card.
    signal opened(item: ContentItem)
    /// The rest of a text that is shown elided is asked for.
    signal expanded
    /// An option of a poll was clicked; the application sends the vote.
    signal voted(option: int)
}
