import QtQuick
import QtQuick.Layouts
import Messenger.Content

/// A page with a title, at a readable width.
Rectangle {
    id: page

    required property string title
    default property alias content: column.data
    property alias flickable: flick

    color: Theme.window

    Text {
        id: heading
        x: flick.x
        y: 20
        text: page.title
        color: Theme.text
        font.pixelSize: 24
        font.bold: true
    }
    Flickable {
        id: flick
        anchors.top: heading.bottom
        anchors.topMargin: 14
        anchors.bottom: parent.bottom
        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.min(640, parent.width - 40)
        clip: true
        contentWidth: width
        contentHeight: column.implicitHeight + 20

        ColumnLayout {
            id: column
            width: flick.width
            spacing: 10
        }
    }
}
