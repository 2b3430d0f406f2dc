import QtQuick
import QtQuick.Controls.Basic
import Messenger.Content

/// A text field in the theme's colours.
TextField {
    id: field

    implicitWidth: 240
    implicitHeight: 36
    color: Theme.text
    placeholderTextColor: Theme.mutedText
    font.pixelSize: 14
    background: Rectangle {
        radius: 8
        color: Theme.highlight
        border.width: field.activeFocus ? 2 : 1
        border.color: field.activeFocus ? Theme.accent : Theme.separator
    }
}
