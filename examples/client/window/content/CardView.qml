import QtQuick
import im.modelbase
import Messenger.Content

/// The card of a person.
ContentPart {
    id: view

    readonly property CardItem card: item as CardItem

    Row {
        width: view.width
        height: ContentFormat.CardHeight
        spacing: ContentMetrics.RowSpacing

        Rectangle {
            id: photo
            anchors.verticalCenter: parent.verticalCenter
            width: 48
            height: 48
            radius: 24
            color: Theme.accent

            Icon {
                anchors.centerIn: parent
                width: 30
                height: 30
                path: Icons.person
                color: Theme.accentText
            }

            Image {
                anchors.fill: parent
                asynchronous: true
                fillMode: Image.PreserveAspectCrop
                source: ContentFormat.url(view.card?.photo?.filePath ?? "")
            }
        }

        Column {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - photo.width - parent.spacing

            PlainLabel {
                width: parent.width
                font.bold: true
                text: view.card?.name ?? ""
            }

            PlainLabel {
                width: parent.width
                muted: true
                text: view.card?.imId ? "@" + view.card.imId.replace(/^@/, "") : contact

                //% "Contact"
                readonly property string contact: qsTrId("client_contact")
            }
        }
    }

    MouseArea {
        width: view.width
        height: ContentFormat.CardHeight
        cursorShape: Qt.PointingHandCursor
        onClicked: view.opened(view.item)
    }

    Caption {
        part: view
    }
}
