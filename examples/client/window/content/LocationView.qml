pragma ComponentBehavior: Bound

import QtQuick
import im.modelbase

/// A place: its map, name and address.
ContentPart {
    id: view

    readonly property LocationItem location: item as LocationItem
    readonly property size mapSize: location?.mapSize(maxWidth, false) ?? Qt.size(0, 0)

    Rectangle {
        id: map
        width: Math.min(view.width, view.mapSize.width)
        height: view.mapSize.height
        radius: Theme.radius
        color: Theme.shade

        Picture {
            id: image
            anchors.fill: parent
            visible: isReady
            file: view.location?.sourceFile ?? null
            thumbnail: view.location?.thumbnailFile ?? null
            thumbBytes: view.location?.thumbNail ?? new ArrayBuffer(0)
        }

        Column {
            anchors.centerIn: parent
            width: parent.width - 16
            spacing: 4
            visible: !image.isReady

            Icon {
                anchors.horizontalCenter: parent.horizontalCenter
                width: 36
                height: 36
                path: Icons.pin
                color: Theme.wrong
            }

            PlainLabel {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                muted: true
                text: view.location?.gps || unknown

                //% "Unknown place"
                readonly property string unknown: qsTrId("client_unknown_place")
            }
        }

        MouseArea {
            anchors.fill: parent
            cursorShape: Qt.PointingHandCursor
            onClicked: view.opened(view.item)
        }
    }

    Column {
        anchors.top: map.bottom
        anchors.topMargin: ContentMetrics.CaptionSpacing
        width: map.width

        Repeater {
            model: [view.location?.place ?? "", view.location?.address ?? ""]

            PlainLabel {
                required property int index
                required property string modelData

                // Drawn text is a little wider or narrower than QFontMetrics calculates.
                width: map.width + 6
                height: metrics.lineSpacing
                // The item counts a line of the theme's size for each.
                color: index === 0 ? Theme.text : Theme.mutedText
                text: modelData
                visible: text !== ""
            }
        }
    }

    FontMetrics {
        id: metrics
        font.pixelSize: Theme.fontSize
    }

    Caption {
        part: view
        mediaWidth: view.mediaWidth
    }
}
