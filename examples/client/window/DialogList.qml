pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Messenger
import Messenger.Content
import im.modelbase

/// The dialogs of a session, the latest first, with a search, tags, and the archive.
Rectangle {
    id: list

    required property Session session
    property alias archived: filter.archived
    property alias tag: filter.tag
    property alias search: searchField.text
    readonly property var tags: ["friends", "family", "work"]
    readonly property var choices: ["", "friends", "family", "work"]

    function has(tags: var, tag: string): bool {
        return tags.indexOf(tag) >= 0
    }
    function tagName(tag: string): string {
        switch (tag) {
        case "friends":
            //% "Friends"
            return qsTrId("client_tag_friends")
        case "family":
            //% "Family"
            return qsTrId("client_tag_family")
        case "work":
            //% "Work"
            return qsTrId("client_tag_work")
        default:
            //% "All"
            return qsTrId("client_tag_all")
        }
    }
    function timeText(time: double): string {
        if (time <= 0)
            return ""
        const date = new Date(time)
        return date.toDateString() === new Date().toDateString()
                ? Qt.formatTime(date, "hh:mm") : date.toLocaleDateString(Qt.locale(AppSettingModel.language), Locale.ShortFormat)
    }

    component Tag: Rectangle {
        id: tagLabel
        required property string modelData

        implicitWidth: tagText.implicitWidth + 12
        implicitHeight: 18
        radius: 4
        color: Theme.separator
        Text {
            id: tagText
            anchors.centerIn: parent
            text: list.tagName(tagLabel.modelData)
            color: Theme.text
            font.pixelSize: 11
        }
    }

    color: Theme.panel
    implicitWidth: 310

    DialogFilter {
        id: filter
        sourceModel: list.session ? list.session.dialogs : null
        search: searchField.text
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        TextField {
            id: searchField
            Layout.fillWidth: true
            Layout.margins: 10
            Layout.bottomMargin: 6
            leftPadding: 12
            rightPadding: 12
            //% "Search"
            placeholderText: qsTrId("client_search")
            placeholderTextColor: Theme.mutedText
            color: Theme.text
            background: Rectangle {
                radius: height / 2
                color: Theme.highlight
                border.width: searchField.activeFocus ? 2 : 0
                border.color: Theme.accent
            }
        }
        Flow {
            Layout.fillWidth: true
            Layout.leftMargin: 10
            Layout.rightMargin: 10
            Layout.bottomMargin: 6
            spacing: 6

            Repeater {
                model: list.choices

                Chip {
                    required property string modelData
                    text: list.tagName(modelData)
                    checked: !filter.archived && filter.tag === modelData
                    onClicked: {
                        filter.archived = false
                        filter.tag = modelData
                    }
                }
            }
            Chip {
                //% "Archive"
                text: qsTrId("client_archive")
                checked: filter.archived
                onClicked: {
                    filter.tag = ""
                    filter.archived = !filter.archived
                }
            }
        }
        ListView {
            id: view
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: filter
            ScrollBar.vertical: ScrollBar { }

            delegate: ItemDelegate {
                id: row
                required property ClientDialog dialog
                readonly property bool open: dialog !== null && list.session !== null
                                             && list.session.dialog === dialog

                width: view.width
                height: 68
                onClicked: list.session.dialog = row.dialog
                background: Rectangle {
                    color: row.open ? Theme.highlight : row.hovered ? Theme.highlight : "transparent"
                }
                TapHandler {
                    acceptedButtons: Qt.RightButton
                    onTapped: menu.popup()
                }
                Menu {
                    id: menu
                    MenuItem {
                        text: row.dialog.mute
                            //% "Sound on"
                            ? qsTrId("client_unmute")
                            //% "Mute"
                            : qsTrId("client_mute")
                        onTriggered: row.dialog.toggleMute()
                    }
                    MenuItem {
                        text: row.dialog.archived
                            //% "Take out of the archive"
                            ? qsTrId("client_unarchive")
                            //% "Archive"
                            : qsTrId("client_archive")
                        onTriggered: row.dialog.archived = !row.dialog.archived
                    }
                    MenuSeparator { }
                    Repeater {
                        model: list.tags
                        MenuItem {
                            required property string modelData
                            text: list.tagName(modelData)
                            checkable: true
                            checked: list.has(row.dialog.tagIds, modelData)
                            onTriggered: row.dialog.toggleTag(modelData)
                        }
                    }
                }

                contentItem: RowLayout {
                    spacing: 10

                    Avatar {
                        name: row.dialog.name
                    }
                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 3

                        RowLayout {
                            spacing: 6
                            Text {
                                Layout.fillWidth: true
                                text: row.dialog.name
                                textFormat: Text.PlainText
                                elide: Text.ElideRight
                                color: Theme.text
                                font.pixelSize: 14
                                font.bold: true
                            }
                            Text {
                                visible: row.dialog.mute
                                text: "🔇"
                                font.pixelSize: 12
                            }
                            Text {
                                text: list.timeText(row.dialog.sortTime)
                                color: Theme.mutedText
                                font.pixelSize: 12
                            }
                        }
                        RowLayout {
                            spacing: 6
                            Text {
                                Layout.fillWidth: true
                                text: row.dialog.typing !== ""
                                    //% "%1 is typing …"
                                    ? qsTrId("client_typing").arg(row.dialog.typing)
                                    : row.dialog.preview
                                textFormat: Text.PlainText
                                maximumLineCount: 1
                                elide: Text.ElideRight
                                color: row.dialog.typing !== "" ? Theme.link : Theme.mutedText
                                font.pixelSize: 13
                            }
                            Repeater {
                                model: row.dialog.tagIds
                                Tag { }
                            }
                            Badge {
                                mark: "♥"
                                color: Theme.badge
                                textColor: Theme.badgeText
                                count: row.dialog.reactedMessageCount
                            }
                            Badge {
                                mark: "@"
                                color: Theme.badge
                                textColor: Theme.badgeText
                                count: row.dialog.atMeMessageCount
                            }
                            Badge {
                                color: row.dialog.mute ? Theme.highlight : Theme.accent
                                textColor: row.dialog.mute ? Theme.text : Theme.accentText
                                count: row.dialog.unread
                            }
                        }
                    }
                }
            }

            Text {
                anchors.centerIn: parent
                width: parent.width - 40
                visible: view.count === 0
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                color: Theme.mutedText
                font.pixelSize: 14
                text: searchField.text !== ""
                    //% "Nothing matches “%1”."
                    ? qsTrId("client_no_match").arg(searchField.text)
                    : filter.archived
                        //% "The archive is empty."
                        ? qsTrId("client_archive_empty")
                        : filter.tag !== ""
                            //% "No dialog has this tag."
                            ? qsTrId("client_tag_empty")
                            //% "Nothing has arrived yet."
                            : qsTrId("client_dialogs_empty")
            }
        }
    }
}
