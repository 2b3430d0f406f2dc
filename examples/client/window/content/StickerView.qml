import QtQuick
import im.modelbase

/// A sticker, still or moving.
ContentPart {
    id: view

    readonly property StickerItem sticker: item as StickerItem
    readonly property StickerData shown: sticker?.animatedFile ?? sticker?.file ?? null
    readonly property string suffix: shown?.fileExtension.toLowerCase() ?? ""

    Picture {
        anchors.fill: parent
        file: view.shown
        thumbnail: view.sticker?.thumbFile ?? null
        thumbBytes: view.sticker?.thumbBytes ?? new ArrayBuffer(0)
        isAnimated: view.suffix === "gif" || (view.suffix === "webp"
                                              && (view.sticker?.animatedFile ?? null) !== null)
        isFitted: true
    }

    MouseArea {
        anchors.fill: parent
        cursorShape: Qt.PointingHandCursor
        onClicked: view.opened(view.item)
    }
}
