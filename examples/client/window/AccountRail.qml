pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Messenger
import Messenger.Content
import im.modelbase

/// The accounts with what they have unread, and the way to the other pages.
Rectangle {
    id: rail

    required property string page
    signal pageChosen(string name)

    color: "#1f2d3d"
    implicitWidth: 72

    component RailButton: AbstractButton {
        id: button
        required property string symbol
        required property string pageName

        Layout.alignment: Qt.AlignHCenter
        implicitWidth: 56
        implicitHeight: 44
        onClicked: rail.pageChosen(pageName)
        background: Rectangle {
            radius: 10
            color: "white"
            opacity: rail.page === button.pageName ? 0.22 : button.hovered ? 0.12 : 0
        }
        contentItem: Text {
            text: button.symbol
            font.family: Theme.symbolFont
            color: "white"
            font.pixelSize: 22
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
        ToolTip.visible: hovered
        ToolTip.text: button.text
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: 12
        anchors.bottomMargin: 12
        spacing: 8

        Repeater {
            // The notebook must look as if there were nothing else.
            model: AccountManager.notebookMode ? null : AccountManager

            AbstractButton {
                id: account
                required property AccountBase modelData
                readonly property bool current: AccountManager.currentAccount === modelData

                Layout.alignment: Qt.AlignHCenter
                implicitWidth: 56
                implicitHeight: 56
                text: Messenger.nameOf(modelData)
                onClicked: {
                    AccountManager.setCurrentAccount(account.modelData.accountId)
                    rail.pageChosen("chats")
                }
                ToolTip.visible: hovered
                ToolTip.text: text

                Rectangle {
                    anchors.fill: parent
                    radius: width / 2
                    color: "transparent"
                    border.width: account.current ? 3 : 0
                    border.color: "#8ee6cd"
                }
                Avatar {
                    anchors.centerIn: parent
                    width: 44
                    height: 44
                    name: account.text
                }
                Badge {
                    anchors.right: parent.right
                    anchors.bottom: parent.bottom
                    color: "#ffd166"
                    textColor: "#2b2000"
                    count: account.modelData ? account.modelData.totalUnreadCount : 0
                }
                Badge {
                    anchors.right: parent.right
                    anchors.top: parent.top
                    color: "#ff9c93"
                    textColor: "#3a0805"
                    mark: "@"
                    count: account.modelData ? account.modelData.totalAtMeCount : 0
                }
            }
        }
        RailButton {
            //% "Add account"
            text: qsTrId("client_add_account")
            visible: !AccountManager.notebookMode
            symbol: "+"
            pageName: "signin"
        }
        Item {
            Layout.fillHeight: true
        }
        RailButton {
            //% "Chats"
            text: qsTrId("client_chats")
            symbol: "✉"
            pageName: "chats"
        }
        RailButton {
            //% "Devices"
            text: qsTrId("client_devices")
            symbol: "▭"
            pageName: "devices"
        }
        RailButton {
            //% "Move the media"
            text: qsTrId("client_move")
            symbol: "⇄"
            pageName: "move"
        }
        RailButton {
            //% "Log"
            text: qsTrId("client_log")
            symbol: "≡"
            pageName: "log"
        }
        RailButton {
            //% "Settings"
            text: qsTrId("client_settings")
            symbol: "⚙"
            pageName: "settings"
        }
    }
}
