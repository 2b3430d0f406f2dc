import QtQuick

/// A button with a text, as wide as the available space.
Rectangle {
    id: button

    property alias text: label.text
    property bool isPlain: false

    signal clicked

    implicitHeight: 36
    radius: Theme.radius
    color: isPlain ? (area.containsMouse ? Theme.highlight : Theme.shade) : Theme.accent

    PlainLabel {
        id: label
        anchors.fill: parent
        anchors.leftMargin: 8
        anchors.rightMargin: 8
        horizontalAlignment: Text.AlignHCenter
        color: button.isPlain ? Theme.link : Theme.accentText
    }

    MouseArea {
        id: area
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: button.clicked()
    }
}
