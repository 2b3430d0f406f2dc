pragma ComponentBehavior: Bound

import QtQuick
import im.modelbase

/// Loads what shows the kind of `item`.
Item {
    id: part

    required property ContentItem item
    required property real maxWidth
    property int maxRowCount: 0

    signal activated(type: int, text: string, data: var)
    signal opened(item: ContentItem)
    signal voted(option: int)

    readonly property int type: item?.type ?? 0

    Loader {
        anchors.fill: parent
        sourceComponent: part.componentOf(part.type)
    }

    function componentOf(type: int): Component {
        switch (type) {
        case ContentItem.Text:
        case ContentItem.LargeEmojiText:
        case ContentItem.EmojiGame:
            return text
        case ContentItem.Image:
        case ContentItem.Video:
            return media
        case ContentItem.Voice:
            return voice
        case ContentItem.Music:
            return music
        case ContentItem.File:
        case ContentItem.Folder:
            return file
        case ContentItem.Sticker:
            return sticker
        case ContentItem.Card:
            return card
        case ContentItem.Location:
            return location
        case ContentItem.System:
            return system
        case ContentItem.Call:
            return call
        case ContentItem.Meeting:
            return meeting
        case ContentItem.Poll:
            return poll
        case ContentItem.Lottery:
            return lottery
        case ContentItem.Combined:
            return combined
        case ContentItem.MediaGroup:
            return mediaGroup
        case ContentItem.FileGroup:
            return fileGroup
        default:
            return newer
        }
    }

    Component {
        id: text

        TextView {
            item: part.item
            maxWidth: part.maxWidth
            maxRowCount: part.maxRowCount
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: media

        MediaView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: voice

        VoiceView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: music

        MusicView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: file

        FileView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: sticker

        StickerView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: card

        CardView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: location

        LocationView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: system

        SystemView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: call

        CallView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: meeting

        MeetingView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: poll

        PollView {
            item: part.item
            maxWidth: part.maxWidth
            onVoted: option => part.voted(option)
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: lottery

        LotteryView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: combined

        CombinedView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: mediaGroup

        MediaGroupView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: fileGroup

        FileGroupView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }

    Component {
        id: newer

        NewerView {
            item: part.item
            maxWidth: part.maxWidth
            onActivated: (type, text, data) => part.activated(type, text, data)
            onOpened: item => part.opened(item)
        }
    }
}
