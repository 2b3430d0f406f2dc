import QtQuick

/// A few letters on a picture.
Rectangle {
    id: mark

    property alias text: label.text

    width: label.implicitWidth + 12
    height: label.implicitHeight + 4
    x: 6
    y: 6
    radius: height / 2
    color: Theme.scrim
    visible: label.text !== ""

    Text {
        id: label
        anchors.centerIn: parent
        color: Theme.scrimText
        font.pixelSize: 11
        textFormat: Text.PlainText
    }
}
