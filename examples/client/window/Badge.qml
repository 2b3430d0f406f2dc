import QtQuick
import Messenger.Content

/// A number on a coloured pill; nothing for 0.
Rectangle {
    id: badge

    property int count
    property string mark: ""
    property color textColor: Theme.accentText

    visible: count > 0
    implicitWidth: Math.max(height, label.implicitWidth + 10)
    implicitHeight: 20
    radius: height / 2
    color: Theme.accent

    Text {
        id: label
        anchors.centerIn: parent
        text: badge.mark + (badge.count > 999 ? "999+" : badge.count)
        color: badge.textColor
        font.family: Theme.symbolFont
        font.pixelSize: 12
        font.bold: true
    }
}
