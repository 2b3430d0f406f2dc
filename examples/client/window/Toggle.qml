import QtQuick
import QtQuick.Controls.Basic
import Messenger.Content

/// A switch that shows a setting's value: it requests a change and waits for it.
AbstractButton {
    id: toggle

    required property bool on
    signal wanted(bool on)

    implicitWidth: 44
    implicitHeight: 26
    onClicked: wanted(!on)

    background: Rectangle {
        radius: height / 2
        color: toggle.on ? Theme.accent : Theme.highlight
        border.width: toggle.on ? 0 : 2
        border.color: Theme.mutedText
    }
    contentItem: Item {
        Rectangle {
            x: toggle.on ? parent.width - width - 2 : 2
            anchors.verticalCenter: parent.verticalCenter
            width: 18
            height: 18
            radius: 9
            color: toggle.on ? Theme.accentText : Theme.mutedText
        }
    }
}
