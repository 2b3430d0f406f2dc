pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Messenger
import Messenger.Content

/// The end of the log file, as it grows.
Rectangle {
    id: page

    color: Theme.window

    Text {
        id: heading
        x: 20
        y: 20
        //% "Log"
        text: qsTrId("client_log")
        color: Theme.text
        font.pixelSize: 24
        font.bold: true
    }
    Text {
        id: path
        anchors.left: heading.right
        anchors.leftMargin: 16
        anchors.right: parent.right
        anchors.rightMargin: 20
        anchors.baseline: heading.baseline
        text: log.file
        elide: Text.ElideMiddle
        color: Theme.mutedText
        font.pixelSize: 13
    }
    ListView {
        id: list
        anchors.fill: parent
        anchors.margins: 20
        anchors.topMargin: 66
        clip: true
        model: LogModel {
            id: log
        }
        onCountChanged: follow.restart()
        ScrollBar.vertical: ScrollBar { }
        // Fires once for all inserted lines.
        Timer {
            id: follow
            interval: 0
            onTriggered: list.positionViewAtEnd()
        }
        delegate: Text {
            required property string display
            width: list.width - 14
            text: display
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            color: /\[error\]/.test(display) ? Theme.wrong : Theme.text
            font.family: "monospace"
            font.pixelSize: 12
            bottomPadding: 3
        }
        Text {
            visible: list.count === 0
            //% "Nothing has been logged yet."
            text: qsTrId("client_log_empty")
            color: Theme.mutedText
            font.pixelSize: 14
        }
    }
}
