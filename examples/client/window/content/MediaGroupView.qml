pragma ComponentBehavior: Bound

import QtQuick
import im.modelbase

/// Pictures and videos as one, at the positions of the group's layout; a caption.
ContentPart {
    id: view

    readonly property MediaGroupItem group: item as MediaGroupItem
    readonly property var members: group?.members ?? []

    readonly property real gridWidth: {
        let right = 0
        for (const cell of group?.rects ?? [])
            right = Math.max(right, cell.x + cell.width)
        return right
    }

    Repeater {
        model: view.group?.rects ?? []

        MediaBox {
            required property int index
            required property rect modelData

            x: modelData.x
            y: modelData.y
            width: modelData.width
            height: modelData.height
            item: view.members[index] as FileItem
            onOpened: view.opened(item)
        }
    }

    Caption {
        part: view
        item: view.group?.caption ?? null
        mediaWidth: view.gridWidth
    }
}
