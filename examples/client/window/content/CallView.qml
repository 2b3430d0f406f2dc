import QtQuick
import im.modelbase
import Messenger.Content

/// A call and its result.
ContentPart {
    id: view

    readonly property CallItem call: item as CallItem
    readonly property bool wasAnswered: call?.state === CallItem.Finished
                                        || call?.state === CallItem.Established

    Row {
        height: ContentFormat.CallHeight
        width: view.width
        spacing: ContentMetrics.RowSpacing

        RoundButton {
            id: button
            anchors.verticalCenter: parent.verticalCenter
            path: Icons.phone
            onClicked: view.opened(view.item)
        }

        PlainLabel {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - button.width - parent.spacing
            color: view.wasAnswered ? Theme.text : Theme.wrong
            text: view.call?.text ?? ""
        }
    }

    Caption {
        part: view
    }
}
