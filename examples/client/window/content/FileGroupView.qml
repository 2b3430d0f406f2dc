pragma ComponentBehavior: Bound

import QtQuick
import im.modelbase

/// Files that were sent together: rows, each with its own text.
ContentPart {
    id: view

    readonly property FileGroupItem group: item as FileGroupItem
    readonly property var members: group?.members ?? []

    Repeater {
        model: view.group?.rects ?? []

        Part {
            required property int index
            required property rect modelData

            x: modelData.x
            y: modelData.y
            width: modelData.width
            height: modelData.height
            item: view.members[index] as ContentItem
            maxWidth: view.maxWidth
            maxRowCount: view.maxRowCount
            onActivated: (type, text, data) => view.activated(type, text, data)
            onOpened: item => view.opened(item)
            onExpanded: view.expanded()
        }
    }
}
