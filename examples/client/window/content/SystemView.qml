import QtQuick
import im.modelbase

/// An event of the chat, as a line in the middle.
ContentPart {
    id: view

    readonly property SystemItem system: item as SystemItem

    Rectangle {
        anchors.fill: parent
        radius: Math.min(height / 2, 12)
        color: Theme.notice
    }

    ContentText {
        x: Math.round((view.width - implicitWidth) / 2)
        y: ContentMetrics.SystemVerticalPadding
        item: view.item
        text: view.system?.text ?? ""
        textWidth: view.messageWidth - 2 * ContentMetrics.SystemSidePadding
        color: Theme.mutedText
        isCentred: true
    }
}
