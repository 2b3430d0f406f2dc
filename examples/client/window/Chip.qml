import QtQuick
import QtQuick.Controls.Basic
import Messenger.Content

/// A small choice in a row of them.
AbstractButton {
    id: chip

    implicitWidth: label.implicitWidth + 20
    implicitHeight: 26

    background: Rectangle {
        radius: height / 2
        color: chip.checked ? Theme.accent : Theme.highlight
        border.width: chip.visualFocus ? 2 : 0
        border.color: Theme.text
    }
    contentItem: Text {
        id: label
        text: chip.text
        color: chip.checked ? Theme.accentText : Theme.text
        font.pixelSize: 13
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
}
