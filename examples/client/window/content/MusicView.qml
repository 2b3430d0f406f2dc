import QtQuick
import im.modelbase
import Messenger.Content

/// A piece of music: its cover, title and author, its duration; a caption.
ContentPart {
    id: view

    readonly property MusicItem music: item as MusicItem

    Item {
        id: row
        width: view.mediaWidth
        height: caption.heightAbove(view.height)

        Rectangle {
            id: cover
            width: ContentMetrics.MusicCoverSide
            height: width
            radius: Theme.radius
            color: Theme.accent

            Icon {
                anchors.centerIn: parent
                width: 28
                height: 28
                path: Icons.note
                color: Theme.accentText
            }

            Picture {
                id: image
                anchors.fill: parent
                visible: isReady
                file: null
                thumbnail: view.music?.thumbnailFile ?? null
                thumbBytes: view.music?.thumbNail ?? new ArrayBuffer(0)
            }

            Mark {
                anchors.right: parent.right
                anchors.bottom: parent.bottom
                anchors.margins: 2
                text: ContentFormat.duration(view.music?.duration ?? 0)
            }
        }

        Column {
            anchors.left: cover.right
            anchors.leftMargin: ContentMetrics.RowSpacing
            anchors.right: parent.right
            // Drawn text is a little wider or narrower than QFontMetrics calculates.
            anchors.rightMargin: -6
            anchors.verticalCenter: parent.verticalCenter

            PlainLabel {
                width: parent.width
                text: view.music?.title || view.music?.name() || ""
            }

            PlainLabel {
                width: parent.width
                muted: true
                text: view.music?.author ?? ""
                visible: text !== ""
            }
        }

        MouseArea {
            anchors.fill: parent
            cursorShape: Qt.PointingHandCursor
            onClicked: view.opened(view.item)
        }
    }

    Caption {
        id: caption
        part: view
        mediaWidth: view.mediaWidth
    }
}
