pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Messenger
import Messenger.Content
import im.modelbase

/// The messages of the open dialog.
///
/// Every row's height is known, so rows have their place without being made: the content is as high
/// as all of them, and a ring of bubbles moves along with what is in view. A bubble shows the rows
/// whose number is its own modulo the size of the ring, so that scrolling by a row changes one of
/// them.
Item {
    id: view

    required property Session session
    property alias draft: input.text
    readonly property MessageListModel messages: session ? session.messages : null
    readonly property ClientDialog dialog: session ? session.dialog : null
    property messageRow none // what a bubble shows that is not in view

    onMessagesChanged: flick.atEnd = true

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
                        text: !view.dialog ? "" : view.dialog.typing !== ""
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

            readonly property int generation: view.messages ? view.messages.generation : 0
            readonly property int prepended: view.messages ? view.messages.prepended : 0
            readonly property double total: view.messages ? view.messages.totalHeight : 0
            // What a row in view is found by; `total` is there because it changes with the heights.
            readonly property int first: total > 0 && view.messages ? view.messages.rowAt(contentY) : -1
            readonly property int last: total > 0 && view.messages
                                        ? view.messages.rowAt(contentY + height - 1) : -1
            // The lowest row is some 80 pixels high.
            readonly property int ringSize: Math.ceil(height / 60) + 2
            property int highlighted: -1

            function toEnd() {
                contentY = Math.max(0, contentHeight - height)
            }

            objectName: "messageView"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            contentWidth: width
            contentHeight: Math.max(total, height)
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {
                policy: flick.contentHeight > flick.height ? ScrollBar.AlwaysOn : ScrollBar.AsNeeded
            }

            property bool atEnd: true
            onMovementEnded: atEnd = atYEnd
            onHeightChanged: if (atEnd) toEnd()
            onContentHeightChanged: if (atEnd) toEnd()
            onContentYChanged: if (!adjusting) atEnd = contentY >= contentHeight - height - 4
            property bool adjusting: false

            Connections {
                target: view.messages
                function onModelReset() {
                    flick.highlighted = -1
                    flick.atEnd = true
                }
                // What is above the view has changed: the view goes along.
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
                    flick.highlighted = row - view.messages.prepended
                }
            }

            Repeater {
                model: flick.ringSize

                MessageBubble {
                    id: bubble
                    required property int index
                    // Its number among the rows; those before the first ones count negative.
                    readonly property int row: {
                        const from = flick.first - flick.prepended
                        const size = flick.ringSize
                        return flick.first + (((index - from) % size) + size) % size
                    }

                    visible: flick.first >= 0 && row <= flick.last && view.messages !== null
                    y: flick.total > 0 && visible ? view.messages.offsetOf(row) : 0
                    width: flick.width
                    height: flick.total > 0 && visible ? view.messages.heightOf(row) : 0
                    highlighted: row - flick.prepended === flick.highlighted
                    message: flick.generation >= 0 && visible ? view.messages.at(row) : view.none
                    onActivated: (text, data) => {
                        const link = typeof data === "string" && data !== "" ? data : text
                        if (/^https?:/.test(link))
                            Qt.openUrlExternally(link)
                    }
                    onMessageChanged: {
                        if (message.valid && message.mentionsMe || message.reactions.length > 0)
                            view.messages.seen(row)
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
