import QtQuick

/// A round button with an icon.
Rectangle {
    id: button

    property alias path: icon.path
    property alias isFilled: icon.filled

    signal clicked

    implicitWidth: 44
    implicitHeight: 44
    radius: width / 2
    color: Theme.accent

    Icon {
        id: icon
        anchors.centerIn: parent
        width: Math.round(button.width * 0.55)
        height: width
        color: Theme.accentText
    }

    MouseArea {
        anchors.fill: parent
        cursorShape: Qt.PointingHandCursor
        onClicked: button.clicked()
    }
}
