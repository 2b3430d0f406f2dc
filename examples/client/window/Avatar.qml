import QtQuick

/// The first letter of a name on a circle whose colour depends on the name.
Rectangle {
    id: avatar

    required property string name
    readonly property var colors: ["#8a3b2f", "#7a4a12", "#4c6419", "#1c6b4a", "#1a6573", "#2d569c",
        "#5b47a0", "#8b3a72"]

    function colorIndex(text: string): int {
        let sum = 0
        for (let i = 0; i < text.length; ++i)
            sum += text.charCodeAt(i)
        return sum % colors.length
    }

    implicitWidth: 40
    implicitHeight: 40
    radius: width / 2
    color: colors[colorIndex(name)]

    Text {
        anchors.centerIn: parent
        text: Array.from(avatar.name)[0] ?? "?"
        color: "white"
        font.pixelSize: avatar.width * 0.45
        font.bold: true
    }
}
