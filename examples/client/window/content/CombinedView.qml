pragma ComponentBehavior: Bound

import QtQuick
import im.modelbase

/// Messages that were forwarded as one: their authors, the first few, a line that opens all.
ContentPart {
    id: view

    readonly property CombinedItem combined: item as CombinedItem

    Column {
        width: view.width

        Repeater {
            model: [view.combined?.title ?? ""].concat(view.combined?.summary ?? [])

            PlainLabel {
                required property int index
                required property string modelData

                // Drawn text is a little wider or narrower than measured.
                width: view.width + 6
                height: metrics.height
                color: index === 0 ? Theme.text : Theme.mutedText
                text: modelData.replace(/\s+/g, " ")
                visible: text !== ""
            }
        }

        PlainLabel {
            width: parent.width
            height: ContentMetrics.CombinedFooterHeight
            color: Theme.link
            font.pixelSize: Theme.smallFontSize
            //% "%n message(s)"
            text: qsTrId("client_combined_count", view.combined?.total ?? 0)
        }
    }

    FontMetrics {
        id: metrics
        font.pixelSize: Theme.fontSize
    }

    MouseArea {
        anchors.fill: parent
        cursorShape: Qt.PointingHandCursor
        onClicked: view.opened(view.item)
    }
}
