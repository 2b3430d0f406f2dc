pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Messenger
import Messenger.Content
import im.modelbase

/// The messages of the open dialog.
Item {
    id: view

    required property Session session
    property alias draft: input.text
    readonly property MessageListModel messages: session ? session.messages : null
    readonly property ClientDialog dialog: session ? session.dialog : null

    Component.onCompleted: Views.prepare()
    onMessagesChanged: {
        flick.atEnd = true
        flick.toEnd()
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0
        visible: view.dialog !== null

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 56
            color: Theme.panel

            RowLayout {
                anchors.fill: parent
                anchors.leftMargin: 16
                anchors.rightMargin: 12
                spacing: 10

                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 2
                    Text {
                        Layout.fillWidth: true
                        text: view.dialog ? view.dialog.name : ""
                        textFormat: Text.PlainText
                        elide: Text.ElideRight
                        color: Theme.text
                        font.pixelSize: 16
                        font.bold: true
                    }
                    Text {
                        Layout.fillWidth: true
                        text: !view.dialog || !view.messages ? "" : view.dialog.typing !== ""
                            ? qsTrId("client_typing").arg(view.dialog.typing)
                            //% "%n message(s)"
                            : qsTrId("client_message_count", view.messages.count)
                        elide: Text.ElideRight
                        color: view.dialog && view.dialog.typing !== "" ? Theme.link : Theme.mutedText
                        font.pixelSize: 12
                    }
                }
                Chip {
                    visible: view.dialog !== null && view.dialog.atMeMessageCount > 0
                    checked: true
                    //% "Next mention (%1)"
                    text: qsTrId("client_next_mention")
                        .arg(view.dialog ? view.dialog.atMeMessageCount : 0)
                    onClicked: view.dialog.loadAtMeMessage(view.messages)
                }
                Chip {
                    visible: view.dialog !== null && view.dialog.reactedMessageCount > 0
                    checked: true
                    //% "Next reaction (%1)"
                    text: qsTrId("client_next_reaction")
                        .arg(view.dialog ? view.dialog.reactedMessageCount : 0)
                    onClicked: view.dialog.loadReactedMessage(view.messages)
                }
            }
            Rectangle {
                anchors.bottom: parent.bottom
                width: parent.width
                height: 1
                color: Theme.separator
            }
        }

        Flickable {
            id: flick

            readonly property int first: rows.first
            readonly property int last: rows.last
            property double highlighted: -1 // a message's id

            function toEnd() {
                contentY = Math.max(0, contentHeight - height)
            }

            objectName: "messageView"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            contentWidth: width
            contentHeight: Math.max(rows.height, height)
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {
                policy: flick.contentHeight > flick.height ? ScrollBar.AlwaysOn : ScrollBar.AsNeeded
            }

            property bool atEnd: true
            onMovementEnded: atEnd = atYEnd
            onHeightChanged: if (atEnd) toEnd()
            onContentYChanged: if (!adjusting) atEnd = contentY >= contentHeight - height - 4
            property bool adjusting: false

            Connections {
                target: view.messages
                function onModelReset() {
                    flick.highlighted = -1
                    flick.atEnd = true
                }
                // Rows above the view have changed their height: the view moves along.
                function onGrown(row: int, pixels: double) {
                    flick.adjusting = true
                    if (flick.atEnd)
                        flick.toEnd()
                    else if (view.messages.offsetOf(row + 1) - pixels <= flick.contentY)
                        flick.contentY += pixels
                    flick.adjusting = false
                }
                function onHeightsChanged() {
                    flick.adjusting = true
                    if (flick.atEnd)
                        flick.toEnd()
                    flick.adjusting = false
                }
                function onJumpRequested(row: int) {
                    const middle = view.messages.offsetOf(row)
                        + (view.messages.heightOf(row) - flick.height) / 2
                    flick.contentY =
                        Math.max(0, Math.min(middle, flick.contentHeight - flick.height))
                    flick.highlighted = view.messages.at(row).messageId
                }
            }

            MessageRows {
                id: rows
                width: flick.width
                height: view.messages ? view.messages.totalHeight : 0
                model: view.messages
                viewTop: flick.contentY
                viewHeight: flick.height
                bubble: Component {
                    MessageBubble {
                        highlighted: message.messageId === flick.highlighted
                        onActivated: (text, data) => {
                            const link = typeof data === "string" && data !== "" ? data : text
                            if (/^https?:/.test(link))
                                Qt.openUrlExternally(link)
                        }
                    }
                }
            }
        }

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: Math.min(160, input.implicitHeight + 16)
            color: Theme.panel

            RowLayout {
                anchors.fill: parent
                anchors.margins: 8
                spacing: 8
                ScrollView {
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    TextArea {
                        id: input
                        //% "Message, with **bold**, __italic__ or `code`"
                        placeholderText: qsTrId("client_write")
                        placeholderTextColor: Theme.mutedText
                        color: Theme.text
                        font.pixelSize: Theme.fontSize
                        wrapMode: TextEdit.Wrap
                        background: Rectangle {
                            radius: 10
                            color: Theme.highlight
                        }
                        Keys.onReturnPressed: event => {
                            if (event.modifiers & Qt.ShiftModifier)
                                event.accepted = false
                            else
                                sendButton.clicked()
                        }
                    }
                }
                Chip {
                    id: sendButton
                    Layout.alignment: Qt.AlignBottom
                    implicitHeight: 34
                    enabled: input.text.trim() !== ""
                    checked: enabled
                    //% "Send"
                    text: qsTrId("client_send")
                    onClicked: {
                        view.session.send(input.text)
                        input.clear()
                        flick.atEnd = true
                        flick.toEnd()
                    }
                }
            }
        }
    }

    Text {
        anchors.centerIn: parent
        width: Math.min(360, parent.width - 40)
        visible: view.dialog === null
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        color: Theme.mutedText
        font.pixelSize: 15
        text: AccountManager.notebookMode
            //% "This is the hidden notebook. It has no entries yet. Lock the window and unlock it with the other passcode to leave."
            ? qsTrId("client_notebook")
            : view.session
                //% "Choose a dialog on the left."
                ? qsTrId("client_choose_dialog")
                //% "Nobody is signed in. Add an account to begin."
                : qsTrId("client_nobody")
    }
}
