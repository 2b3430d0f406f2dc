pragma ComponentBehavior: Bound

import QtQuick
import im.modelbase
import Messenger.Content

/// Contents in bubbles, column by column.
Rectangle {
    id: gallery

    /// Content items; null for an unknown kind.
    property var items: []
    property int maxWidth: 400
    property int maxRowCount: 0
    readonly property int padding: 12
    /// The difference between the heights of an entry and its content.
    readonly property int frame: 2 * padding + spacing
    readonly property int spacing: 10

    color: Theme.window

    Flow {
        anchors.fill: parent
        anchors.margins: gallery.spacing
        flow: Flow.TopToBottom
        spacing: gallery.spacing

        Repeater {
            model: gallery.items

            Item {
                id: entry

                required property int index
                required property var modelData
                readonly property ContentItem item: modelData as ContentItem
                readonly property bool isBare: item?.type === ContentItem.System
                                               || item?.type === ContentItem.Sticker
                                               || item?.type === ContentItem.LargeEmojiText
                                               || item?.type === ContentItem.EmojiGame

                width: gallery.maxWidth + 2 * gallery.padding
                height: view.height + 2 * gallery.padding

                Rectangle {
                    width: view.width + 2 * gallery.padding
                    height: parent.height
                    radius: 12
                    color: entry.index % 2 ? Theme.ownBubble : Theme.bubble
                    visible: !entry.isBare
                }

                ContentView {
                    id: view
                    x: gallery.padding
                    y: gallery.padding
                    item: entry.item
                    maxWidth: gallery.maxWidth
                    maxRowCount: gallery.maxRowCount
                }
            }
        }
    }
}
