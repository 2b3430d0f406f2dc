pragma Singleton

import QtQuick
import im.modelbase

/// The view of each type of content.
QtObject {
    readonly property var names: ({
        [ContentItem.Text]: "TextView",
        [ContentItem.LargeEmojiText]: "TextView",
        [ContentItem.EmojiGame]: "TextView",
        [ContentItem.Image]: "MediaView",
        [ContentItem.Video]: "MediaView",
        [ContentItem.Voice]: "VoiceView",
        [ContentItem.Music]: "MusicView",
        [ContentItem.File]: "FileView",
        [ContentItem.Folder]: "FileView",
        [ContentItem.Sticker]: "StickerView",
        [ContentItem.Card]: "CardView",
        [ContentItem.Location]: "LocationView",
        [ContentItem.System]: "SystemView",
        [ContentItem.Call]: "CallView",
        [ContentItem.Meeting]: "MeetingView",
        [ContentItem.Poll]: "PollView",
        [ContentItem.Lottery]: "LotteryView",
        [ContentItem.Combined]: "CombinedView",
        [ContentItem.MediaGroup]: "MediaGroupView",
        [ContentItem.FileGroup]: "FileGroupView",
    })
    property var prepared: [] // a list of Components would not keep them alive

    /// By its type's name, without the suffix.
    function nameOf(type: int): string {
        return names[type] ?? "NewerView"
    }

    /// Loads the views in the background, so that the first messages need not wait.
    function prepare() {
        const views = new Set(Object.values(names))
        prepared = Array.from(views, name => Qt.createComponent(name + ".qml",
                                                                Component.Asynchronous))
    }
}
