pragma ComponentBehavior: Bound

import QtQuick
import im.modelbase
import Messenger.Content

/// The rows of buttons below a message.
Column {
    id: buttons

    required property ContentItem item

    /// @param button a map of ContentItem::buttons
    signal pressed(button: var)

    spacing: ContentFormat.ButtonSpacing

    Repeater {
        model: buttons.item?.buttons ?? []

        Row {
            id: row

            required property var modelData

            width: buttons.width
            height: ContentFormat.ButtonHeight
            spacing: ContentFormat.ButtonSpacing

            Repeater {
                model: row.modelData

                PushButton {
                    required property var modelData

                    width: (row.width + row.spacing) / row.modelData.length - row.spacing
                    height: row.height
                    isPlain: true
                    text: (modelData.text ?? "") + (modelData.url ? " ↗" : "")
                    onClicked: buttons.pressed(modelData)
                }
            }
        }
    }
}
