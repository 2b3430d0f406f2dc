import QtQuick

/// Replaces a content of an unknown kind.
ContentPart {
    id: view

    PlainLabel {
        anchors.fill: parent
        muted: true
        font.italic: true
        wrapMode: Text.Wrap
        maximumLineCount: 2
        //% "This message needs a newer version."
        text: qsTrId("client_newer_content")
    }
}
