import QtQuick
import QtQuick.Layouts
import Messenger.Content
import im.modelbase

/// Moves the media to another directory.
PageFrame {
    id: page

    readonly property AppDataMove move: AccountManager.appDataMove
    readonly property string outcome: {
        switch (move.outcome) {
        case AppDataMove.Outcome.Moved:
            //% "Everything is in its new place."
            return qsTrId("client_move_ok")
        case AppDataMove.Outcome.Cancelled:
            //% "Not everything has been moved. The next start goes on."
            return qsTrId("client_move_failed")
        case AppDataMove.Outcome.GivenUp:
            //% "What has not been moved stays where it was."
            return qsTrId("client_move_given_up")
        default:
            return move.reasonText
        }
    }

    function firstOf(list) {
        return list.slice(0, 5)
    }
    function size(bytes: double): string {
        return Qt.locale().formattedDataSize(bytes)
    }

    //% "Move the media"
    title: qsTrId("client_move")

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
    Repeater {
        model: page.move.running ? [] : page.firstOf(page.move.problems)
        Text {
            required property var modelData
            Layout.fillWidth: true
            text: modelData.path + "\n" + modelData.text
                + (modelData.obstacle ? "\n" + modelData.obstacle : "")
            color: Theme.text
            font.pixelSize: 12
            wrapMode: Text.WrapAnywhere
        }
    }
    RowLayout {
        visible: !page.move.running && page.move.unfinished
        spacing: 8
        Chip {
            //% "Try again"
            text: qsTrId("client_move_retry")
            onClicked: page.move.retry()
        }
        Chip {
            visible: page.move.problems.length > 0
            //% "Leave these"
            text: qsTrId("client_move_skip")
            onClicked: page.move.skip()
        }
        Chip {
            //% "Give up"
            text: qsTrId("client_move_give_up")
            onClicked: page.move.giveUp()
        }
    }
}
