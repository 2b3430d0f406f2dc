import QtQuick
import im.modelbase

/// Shows an item by what shows its kind.
Item {
    id: part

    required property ContentItem item
    required property real maxWidth
    property int maxRowCount: 0
    readonly property string viewName: viewOf(item?.type ?? 0)

    signal activated(type: int, text: string, data: var)
    signal opened(item: ContentItem)
    signal expanded
    signal voted(option: int)

    function viewOf(type: int): string {
        switch (type) {
        case ContentItem.Text:
        case ContentItem.LargeEmojiText:
        case ContentItem.EmojiGame:
            return "TextView"
        case ContentItem.Image:
        case ContentItem.Video:
            return "MediaView"
        case ContentItem.Voice:
            return "VoiceView"
        case ContentItem.Music:
            return "MusicView"
        case ContentItem.File:
        case ContentItem.Folder:
            return "FileView"
        case ContentItem.Sticker:
            return "StickerView"
        case ContentItem.Card:
            return "CardView"
        case ContentItem.Location:
            return "LocationView"
        case ContentItem.System:
            return "SystemView"
        case ContentItem.Call:
            return "CallView"
        case ContentItem.Meeting:
            return "MeetingView"
        case ContentItem.Poll:
            return "PollView"
        case ContentItem.Lottery:
            return "LotteryView"
        case ContentItem.Combined:
            return "CombinedView"
        case ContentItem.MediaGroup:
            return "MediaGroupView"
        case ContentItem.FileGroup:
            return "FileGroupView"
        default:
            return "NewerView"
        }
    }

    // By name: views of groups show parts themselves.
    function load() {
        loader.setSource(viewName + ".qml",
                         { item: item, maxWidth: maxWidth, maxRowCount: maxRowCount })
    }

    onViewNameChanged: load()
    onItemChanged: {
        if (loader.shown)
            loader.shown.item = item
    }
    Component.onCompleted: load()

    Loader {
        id: loader

        readonly property ContentPart shown: item as ContentPart

        anchors.fill: parent
    }

    Binding {
        target: loader.shown
        property: "maxWidth"
        value: part.maxWidth
    }

    Binding {
        target: loader.shown
        property: "maxRowCount"
        value: part.maxRowCount
    }

    Connections {
        target: loader.shown

        function onActivated(type: int, text: string, data: var) {
            part.activated(type, text, data)
        }
        function onOpened(item: ContentItem) {
            part.opened(item)
        }
        function onExpanded() {
            part.expanded()
        }
        function onVoted(option: int) {
            part.voted(option)
        }
    }
}
