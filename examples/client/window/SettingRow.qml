import QtQuick
import QtQuick.Layouts
import Messenger.Content

/// A line of a settings page: its subject, and on the right its control.
Rectangle {
    id: row

    required property string text
    property string hint: ""
    default property alias content: controls.data

    Layout.fillWidth: true
    implicitHeight: Math.max(52, labels.implicitHeight + 20)
    radius: 10
    color: Theme.panel

    Column {
        id: labels
        anchors.left: parent.left
        anchors.leftMargin: 16
        anchors.right: controls.left
        anchors.rightMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2
        Text {
            width: parent.width
            text: row.text
            color: Theme.text
            font.pixelSize: 15
            wrapMode: Text.Wrap
        }
        Text {
            width: parent.width
            visible: text !== ""
            text: row.hint
            color: Theme.mutedText
            font.pixelSize: 12
            wrapMode: Text.Wrap
        }
    }
    RowLayout {
        id: controls
        anchors.right: parent.right
        anchors.rightMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        spacing: 8
    }
}
