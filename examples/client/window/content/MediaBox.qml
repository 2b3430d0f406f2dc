import QtQuick
import im.modelbase
import Messenger.Content

/// An image or video without its caption: the picture, covered if it is a spoiler, and for a video
/// a play mark and the duration.
Item {
    id: box

    required property FileItem item
    readonly property ImageItem image: item as ImageItem
    readonly property VideoItem video: item as VideoItem
    property bool isRevealed: false
    readonly property bool isCovered: !isRevealed
                                      && ((image?.spoiler ?? false) || (video?.spoiler ?? false))

    signal opened

    Picture {
        anchors.fill: parent
        // Of a video only a frame is shown.
        file: box.video ? null : box.item?.sourceFile ?? null
        thumbnail: box.item?.thumbnailFile ?? null
        thumbBytes: box.item?.thumbNail ?? new ArrayBuffer(0)
        isAnimated: box.image?.isAnimated ?? false
        isCovered: box.isCovered
    }

    Rectangle {
        anchors.fill: parent
        visible: box.isCovered
        color: Theme.scrim

        Column {
            anchors.centerIn: parent
            width: parent.width - 8
            spacing: 2

            Icon {
                anchors.horizontalCenter: parent.horizontalCenter
                path: Icons.hidden
                filled: false
                color: Theme.scrimText
            }

            PlainLabel {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                color: Theme.scrimText
                font.pixelSize: Theme.smallFontSize
                //% "Show spoiler"
                text: qsTrId("client_show_spoiler")
                visible: box.height > 60
            }
        }
    }

    Rectangle {
        anchors.centerIn: parent
        width: Math.min(48, box.height - 4)
        height: width
        radius: width / 2
        color: Theme.scrim
        visible: box.video && !box.isCovered

        Icon {
            anchors.fill: parent
            anchors.margins: parent.width / 5
            path: Icons.play
            color: Theme.scrimText
        }
    }

    Mark {
        anchors.left: parent.left
        anchors.top: parent.top
        text: box.video ? ContentFormat.duration(box.video.duration)
                        : box.image?.livePhoto ? livePhoto : ""

        //% "Live"
        readonly property string livePhoto: qsTrId("client_live_photo")
    }

    Transfer {
        anchors.right: parent.right
        anchors.top: parent.top
        file: box.item?.sourceFile ?? null
    }

    MouseArea {
        anchors.fill: parent
        cursorShape: Qt.PointingHandCursor
        onClicked: {
            if (box.isCovered)
                box.isRevealed = true
            else
                box.opened()
        }
    }

    onItemChanged: isRevealed = false
}
