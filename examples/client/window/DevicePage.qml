pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Messenger
import Messenger.Content
import im.modelbase

/// The devices that are signed in to the account.
PageFrame {
    id: page

    required property Session session
    readonly property AccountDeviceModel model: session ? session.account.deviceModel : null
    property string problem: ""

    function details(device: var): string {
        return [device.appName, device.os, device.ipAddress].filter(part => part).join(" · ")
    }
    onVisibleChanged: if (visible && session) problem = session.fetchDevices()
    onSessionChanged: if (visible && session) problem = session.fetchDevices()

    //% "Devices"
    title: qsTrId("client_devices")

    Text {
        Layout.fillWidth: true
        visible: text !== ""
        text: page.session
            ? page.problem
            //% "Nobody is signed in, so there are no devices."
            : qsTrId("client_devices_nobody")
        color: page.session ? Theme.wrong : Theme.mutedText
        wrapMode: Text.Wrap
        font.pixelSize: 14
    }
    SettingRow {
        readonly property var device: page.model ? page.model.currentDevice : ({})
        visible: page.model !== null && page.model.valid
        //% "%1 (this device)"
        text: qsTrId("client_this_device").arg(device.deviceModel ?? "")
        hint: page.details(device)
    }
    Repeater {
        model: page.model
        SettingRow {
            id: row
            required property var device
            text: device.deviceModel
            hint: page.details(device)
            Text {
                visible: row.device.sealed
                //% "Sealed"
                text: qsTrId("client_sealed")
                color: Theme.mutedText
                font.pixelSize: 13
            }
            Chip {
                visible: !row.device.sealed
                //% "Unlink"
                text: qsTrId("client_unlink")
                onClicked: page.problem = page.session.unlinkDevice(row.device.deviceId)
            }
        }
    }
}
