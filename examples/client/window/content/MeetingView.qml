import QtQuick
import im.modelbase
import Messenger.Content

/// An invitation to a meeting.
ContentPart {
    id: view

    Column {
        width: view.width
        height: ContentFormat.MeetingHeight
        spacing: 6

        Row {
            width: parent.width
            height: 46
            spacing: ContentMetrics.RowSpacing

            Icon {
                id: icon
                anchors.verticalCenter: parent.verticalCenter
                width: 32
                height: 32
                path: Icons.video
                filled: false
                color: Theme.link
            }

            PlainLabel {
                anchors.verticalCenter: parent.verticalCenter
                width: parent.width - icon.width - parent.spacing
                //% "Invitation to a meeting"
                text: qsTrId("client_meeting_invitation")
            }
        }

        PushButton {
            width: parent.width
            height: 40
            //% "Join"
            text: qsTrId("client_join_meeting")
            onClicked: view.opened(view.item)
        }
    }

    Caption {
        part: view
    }
}
