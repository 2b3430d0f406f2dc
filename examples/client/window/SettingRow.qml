import QtQuick
import QtQuick.Layouts
import Messenger.Content

/// A line of a settings page: what it is about, and on the right what it is set with.
Rectangle {
    id: row

    required property string text
    property string hint: ""
    default property alias content: controls.data

    Layout.fillWidth: true
    implicitHeight: hint === "" ? 52 : 60
    radius: 10
    color: Theme.panel

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 16
        anchors.rightMargin: 12
        spacing: 12

        ColumnLayout {
            id: labels
            Layout.fillWidth: true
            spacing: 2
            Text {
                Layout.fillWidth: true
                text: row.text
                color: Theme.text
                font.pixelSize: 15
                elide: Text.ElideRight
            }
            Text {
                Layout.fillWidth: true
                visible: text !== ""
                text: row.hint
                color: Theme.mutedText
                font.pixelSize: 12
                elide: Text.ElideMiddle
            }
        }
        RowLayout {
            id: controls
            spacing: 8
        }
    }
}
