import QtQuick

/// In place of a content that this version knows nothing of.
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
