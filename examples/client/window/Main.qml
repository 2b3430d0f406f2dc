pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Messenger
import Messenger.Content
import im.modelbase

/// The window: the accounts on the left, and beside them the chats or another page.
ApplicationWindow {
    id: window

    property string page: "chats"
    readonly property var pages: ["chats", "signin", "settings", "devices", "move", "log"]
    // Accessible from outside.
    property alias draft: messageView.draft
    property alias showArchived: dialogList.archived
    property alias shownTag: dialogList.tag
    property alias searchText: dialogList.search
    property alias signInError: signInPage.problem
    readonly property Session session: Messenger.session
    property Session lastSession: null

    width: 1180
    height: 780
    minimumWidth: 720
    minimumHeight: 480
    visible: true
    title: session ? "Messenger – " + session.name : "Messenger"
    color: Theme.window

    onSessionChanged: {
        if (lastSession)
            lastSession.setActive(false)
        if (session)
            session.setActive(true)
        lastSession = session
        if (!session && AccountManager.count === 0)
            page = "signin"
    }

    Connections {
        target: AccountManager
        // A slip of the mouse must not lose a typed message.
        function onBeginChangeCurrentItem(type: int, forced: bool) {
            if (forced || messageView.draft.trim() === "")
                return
            AccountManager.setCurrentItemChangeable(type, false)
            //% "You have not sent your message. Send or delete it before you switch."
            notice.show(qsTrId("client_veto"))
        }
        function onAppWiped() {
            window.page = "signin"
        }
    }
    Connections {
        target: Messenger
        function onTold(text: string) {
            notice.show(text)
        }
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0
        visible: !AppLock.locked
        LayoutMirroring.enabled: Application.layoutDirection === Qt.RightToLeft
        LayoutMirroring.childrenInherit: true

        AccountRail {
            Layout.fillHeight: true
            page: window.page
            onPageChosen: name => window.page = name
        }
        DialogList {
            id: dialogList
            Layout.fillHeight: true
            visible: window.page === "chats"
            session: window.session
        }
        Rectangle {
            Layout.fillHeight: true
            visible: window.page === "chats"
            implicitWidth: 1
            color: Theme.separator
        }
        StackLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            currentIndex: window.pages.indexOf(window.page)

            MessageView {
                id: messageView
                session: window.session
                // In steps, so that resizing the window does not measure at every pixel.
                onWidthChanged: AccountManager.maxMsgItemWidth =
                    Math.max(240, Math.min(480, Math.floor((width - 120) / 40) * 40))
            }
            SignInPage {
                id: signInPage
                onSignedIn: window.page = "chats"
            }
            SettingsPage { }
            DevicePage {
                session: window.session
            }
            DataMovePage { }
            LogView { }
        }
    }
    LockScreen {
        anchors.fill: parent
        visible: AppLock.locked
    }

    Rectangle {
        id: notice

        function show(text: string) {
            label.text = text
            shown = true
            hide.restart()
        }

        anchors.horizontalCenter: parent.horizontalCenter
        y: 64
        width: Math.min(parent.width - 80, label.implicitWidth + 32)
        height: label.implicitHeight + 20
        property bool shown: false
        visible: shown && !AppLock.locked
        radius: 10
        color: Theme.badge

        Text {
            id: label
            anchors.centerIn: parent
            width: parent.width - 32
            color: Theme.badgeText
            font.pixelSize: 14
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
        }
        Timer {
            id: hide
            interval: 5000
            onTriggered: notice.shown = false
        }
    }
}
