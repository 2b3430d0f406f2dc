import QtQuick
import QtQuick.Layouts
import Messenger.Content
import im.modelbase

/// Moves the media to another directory.
PageFrame {
    id: page

    readonly property AppDataMove move: AccountManager.appDataMove
    property string outcome: ""

    function size(bytes: double): string {
        return Qt.locale().formattedDataSize(bytes)
    }

    //% "Move the media"
    title: qsTrId("client_move")

    Connections {
        target: page.move
        function onFinished(ok: bool) {
            page.outcome = ok
                //% "Everything is in its new place."
                ? qsTrId("client_move_ok")
                //% "Not everything has been moved. The next start goes on."
                : qsTrId("client_move_failed")
        }
    }
    SettingRow {
        //% "Where they are"
        text: qsTrId("client_move_place")
        hint: AppSettingModel.cacheDataPath
    }
    SettingRow {
        //% "Where they are to be"
        text: qsTrId("client_move_target")
        //% "A directory that exists"
        hint: qsTrId("client_move_target_hint")
        Field {
            id: target
            enabled: !page.move.running
            placeholderText: "/home/mira/media"
        }
        Chip {
            enabled: page.move.running || target.text !== ""
            checked: enabled
            text: page.move.running
                //% "Stop"
                ? qsTrId("client_move_stop")
                //% "Move"
                : qsTrId("client_move_start")
            onClicked: {
                page.outcome = ""
                if (page.move.running)
                    page.move.cancel()
                else
                    page.move.moveTo(target.text)
            }
        }
    }
    Rectangle {
        Layout.fillWidth: true
        visible: page.move.running || page.move.totalBytes > 0
        implicitHeight: 74
        radius: 10
        color: Theme.panel

        Text {
            x: 16
            y: 12
            color: Theme.text
            font.pixelSize: 14
            //% "%1 % – %2 of %3"
            text: qsTrId("client_move_progress").arg(page.move.percent)
                .arg(page.size(page.move.movedBytes)).arg(page.size(page.move.totalBytes))
        }
        Rectangle {
            x: 16
            y: 44
            width: parent.width - 32
            height: 12
            radius: 6
            color: Theme.highlight
            Rectangle {
                width: parent.width * page.move.percent / 100
                height: parent.height
                radius: 6
                color: Theme.accent
            }
        }
    }
    Text {
        Layout.fillWidth: true
        text: page.outcome !== "" || page.move.running || page.move.totalBytes > 0
            ? page.outcome
            //% "Nothing is being moved."
            : qsTrId("client_move_idle")
        color: Theme.mutedText
        font.pixelSize: 14
        wrapMode: Text.Wrap
    }
}
