import QtQuick
import QtQuick.Layouts
import Messenger
import Messenger.Content

/// Adds an account: a telephone number, then the code sent to it.
PageFrame {
    id: page

    property string problem: ""
    property bool codeSent: false
    signal signedIn()

    function goOn() {
        if (!codeSent) {
            problem = Messenger.requestCode("1", phone.text)
            codeSent = problem === ""
        } else {
            problem = Messenger.signIn("1", phone.text, code.text)
            if (problem === "") {
                phone.clear()
                code.clear()
                codeSent = false
                signedIn()
            }
        }
    }

    //% "Add account"
    title: qsTrId("client_add_account")

    Text {
        Layout.fillWidth: true
        //% "The stand-in for the server knows two people: Mira, 5550101, and Jonas, 5550102. The code is 246810."
        text: qsTrId("client_sign_in_help")
        color: Theme.mutedText
        font.pixelSize: 14
        wrapMode: Text.Wrap
    }
    SettingRow {
        //% "Telephone number"
        text: qsTrId("client_phone")
        Text {
            text: "+1"
            color: Theme.text
            font.pixelSize: 15
        }
        Field {
            id: phone
            enabled: !page.codeSent
            placeholderText: "5550102"
            onAccepted: page.goOn()
        }
    }
    SettingRow {
        visible: page.codeSent
        //% "Code"
        text: qsTrId("client_code")
        Field {
            id: code
            placeholderText: "246810"
            onAccepted: page.goOn()
        }
    }
    Text {
        Layout.fillWidth: true
        visible: text !== ""
        text: page.problem
        color: Theme.wrong
        font.pixelSize: 14
        wrapMode: Text.Wrap
    }
    Chip {
        implicitHeight: 36
        checked: true
        enabled: phone.text !== ""
        text: page.codeSent
            //% "Sign in"
            ? qsTrId("client_sign_in")
            //% "Send the code"
            : qsTrId("client_send_code")
        onClicked: page.goOn()
    }
}
