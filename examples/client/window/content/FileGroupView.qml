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

        Loader {
            id: row

            required property int index
            required property rect modelData
            readonly property ContentItem member: view.members[index] as ContentItem

            x: modelData.x
            y: modelData.y
            width: modelData.width
            height: modelData.height
            sourceComponent: member?.type === ContentItem.Music
                             ? music : member?.type === ContentItem.Voice ? voice : file

            Component {
                id: music

                MusicView {
                    item: row.member
                    maxWidth: view.maxWidth
                    onActivated: (type, text, data) => view.activated(type, text, data)
                    onOpened: item => view.opened(item)
                }
            }

            Component {
                id: voice

                VoiceView {
                    item: row.member
                    maxWidth: view.maxWidth
                    onActivated: (type, text, data) => view.activated(type, text, data)
                    onOpened: item => view.opened(item)
                }
            }

            Component {
                id: file

                FileView {
                    item: row.member
                    maxWidth: view.maxWidth
                    onActivated: (type, text, data) => view.activated(type, text, data)
                    onOpened: item => view.opened(item)
                }
            }
        }
    }
}
