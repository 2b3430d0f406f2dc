pragma ComponentBehavior: Bound

import QtQuick
import Messenger
import Messenger.Content
import im.modelbase

/// One row of messages: its day, its sender, its content in a bubble, and the reactions.
Item {
    id: row

    property messageRow message
    property bool highlighted: false
    readonly property bool outgoing: message.outgoing
    readonly property bool system: message.item !== null && message.item.type === ContentItem.System
    readonly property int avatarSpace: 52
    readonly property bool mirrored: LayoutMirroring.enabled

    /// The x position of something whose distance from the start of lines is `start` pixels.
    function place(start: real, extent: real): real {
        return mirrored ? width - start - extent : start
    }

    /// A link or the like in a text was clicked.
    signal activated(string text, var data)

    Text {
        id: dayLabel
        visible: row.message.showDay
        width: parent.width
        height: visible ? MessageListModel.DayHeight : 0
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        text: visible ? row.message.time.toLocaleDateString(Qt.locale(AppSettingModel.language),
                                                            Locale.LongFormat) : ""
        color: Theme.mutedText
        font.pixelSize: 13
        font.bold: true
    }

    Avatar {
        visible: row.message.showSender && !row.system
        x: row.place(10, width)
        anchors.top: bubble.top
        width: 34
        height: 34
        name: row.message.senderName
    }

    Rectangle {
        id: bubble
        x: row.system ? (row.width - width) / 2
                      : row.place(row.outgoing ? row.width - width - 16 : row.avatarSpace, width)
        anchors.top: dayLabel.bottom
        anchors.topMargin: MessageListModel.Gap / 2
        width: Math.max(content.implicitWidth, sender.visible ? sender.width : 0,
                        time.implicitWidth, row.system ? 0 : reactions.implicitWidth)
               + 2 * MessageListModel.Padding
        height: parent.height - dayLabel.height - MessageListModel.Gap
        radius: 12
        color: row.system ? "transparent" : row.outgoing ? Theme.ownBubble : Theme.bubble
        border.width: row.highlighted || row.message.mentionsMe ? 2 : 0
        border.color: row.highlighted ? Theme.accent : Theme.badge

        Text {
            id: sender
            visible: row.message.showSender && !row.system
            x: MessageListModel.Padding
            y: MessageListModel.Padding - 2
            width: Math.min(implicitWidth, AccountManager.maxMsgItemWidth)
            height: visible ? MessageListModel.SenderHeight : 0
            text: row.message.senderName
            textFormat: Text.PlainText
            elide: Text.ElideRight
            color: Theme.link
            font.pixelSize: 13
            font.bold: true
        }
        ContentView {
            id: content
            visible: row.message.valid
            x: MessageListModel.Padding
            y: MessageListModel.Padding + sender.height
            width: implicitWidth
            height: implicitHeight
            item: row.message.item
            maxWidth: AccountManager.maxMsgItemWidth
            onActivated: (type, text, data) => row.activated(text, data)
        }
        Row {
            id: reactions
            x: MessageListModel.Padding
            anchors.bottom: time.top
            height: row.message.reactions.length > 0 ? MessageListModel.ReactionHeight - 4 : 0
            spacing: 4
            Repeater {
                model: row.message.reactions
                Rectangle {
                    id: reaction
                    required property string modelData
                    width: label.implicitWidth + 16
                    height: MessageListModel.ReactionHeight - 6
                    radius: height / 2
                    color: Theme.highlight
                    Text {
                        id: label
                        anchors.centerIn: parent
                        text: reaction.modelData
                        color: Theme.text
                        font.pixelSize: 13
                    }
                }
            }
        }
        Text {
            id: time
            anchors.right: bubble.right
            anchors.rightMargin: row.system ? (bubble.width - implicitWidth) / 2
                                            : MessageListModel.Padding
            anchors.bottom: bubble.bottom
            anchors.bottomMargin: 6
            text: Qt.formatTime(row.message.time, "hh:mm")
            color: Theme.mutedText
            font.pixelSize: 11
        }
    }
}
