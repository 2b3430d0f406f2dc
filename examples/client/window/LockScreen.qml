import QtQuick
import QtQuick.Layouts
import Messenger
import Messenger.Content

/// Covers the window until a passcode opens the accounts or the notebook, or deletes everything.
Rectangle {
    id: screen

    property bool wrong: false

    function attempt(passcode: string) {
        wrong = !AppLock.unlock(passcode)
        field.clear()
    }

    objectName: "lockScreen"
    color: Theme.window
    onVisibleChanged: {
        wrong = false
        if (visible)
            field.forceActiveFocus()
    }

    MouseArea { // blocks everything below
        anchors.fill: parent
        hoverEnabled: true
    }
    ColumnLayout {
        anchors.centerIn: parent
        spacing: 14

        Text {
            Layout.alignment: Qt.AlignHCenter
            text: "🔒"
            font.pixelSize: 48
        }
        Text {
            Layout.alignment: Qt.AlignHCenter
            //% "Locked"
            text: qsTrId("client_locked")
            color: Theme.text
            font.pixelSize: 24
            font.bold: true
        }
        Field {
            id: field
            Layout.alignment: Qt.AlignHCenter
            echoMode: TextInput.Password
            //% "Passcode"
            placeholderText: qsTrId("client_passcode")
            horizontalAlignment: TextInput.AlignHCenter
            onAccepted: screen.attempt(text)
        }
        Text {
            Layout.alignment: Qt.AlignHCenter
            Layout.minimumHeight: 20
            text: screen.wrong
                //% "This is not the passcode."
                ? qsTrId("client_wrong_passcode") : ""
            color: Theme.wrong
            font.pixelSize: 14
        }
        Chip {
            Layout.alignment: Qt.AlignHCenter
            implicitHeight: 36
            checked: true
            //% "Unlock"
            text: qsTrId("client_unlock")
            onClicked: screen.attempt(field.text)
        }
    }
}
