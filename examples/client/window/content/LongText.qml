import QtQuick
import im.modelbase

/// A text of an item, with a button below that expands it if it is elided.
Item {
    id: view

    required property ContentItem item
    property alias textWidth: drawn.textWidth
    property alias pixelSize: drawn.pixelSize
    property alias maxRowCount: drawn.maxRowCount

    signal activated(type: int, text: string, data: var)
    signal expanded

    implicitWidth: drawn.implicitWidth
    implicitHeight: drawn.implicitHeight + (drawn.isElided ? ContentMetrics.ExpandHeight : 0)

    ContentText {
        id: drawn
        item: view.item
        onActivated: (type, text, data) => view.activated(type, text, data)
    }

    PlainLabel {
        y: drawn.implicitHeight
        height: ContentMetrics.ExpandHeight
        color: Theme.link
        font.pixelSize: 12
        //% "Show more"
        text: qsTrId("client_show_more")
        visible: drawn.isElided

        MouseArea {
            anchors.fill: parent
            cursorShape: Qt.PointingHandCursor
            onClicked: view.expanded()
        }
    }
}
