import QtQuick
import im.modelbase

/// An image or a video, and its caption.
ContentPart {
    id: view

    readonly property FileItem media: item as FileItem

    MediaBox {
        item: view.media
        width: view.mediaWidth
        height: caption.heightAbove(view.height)
        onOpened: view.opened(view.item)
    }

    Caption {
        id: caption
        part: view
        mediaWidth: view.mediaWidth
    }
}
