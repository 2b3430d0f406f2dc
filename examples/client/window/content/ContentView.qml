import QtQuick
import im.modelbase
import Messenger.Content

/// Shows one content item of any kind, at its measured size. A bubble around it needs a padding of
/// at least 10 pixels on the left and right, into which code and quotes extend.
Item {
    id: view

    /// Null for a content of an unknown kind.
    required property ContentItem item
    /// The width in pixels with which the item was measured.
    property real maxWidth: 480
    /// Texts of more lines are elided to this many; the same value as for measuring.
    property int maxRowCount: 0

    /// A link, mention, tag, ... in a text was clicked.
    /// @param type a text entity's type; @param data what the entity carries
    signal activated(type: int, text: string, data: var)
    /// The content was clicked: a picture, a file, a place, one of a group's members.
    signal opened(item: ContentItem)
    /// An option of a poll was clicked.
    signal voted(option: int)
    /// A button below the message was clicked; a map of ContentItem::buttons.
    signal pressed(button: var)
    /// The rest of an elided text was requested.
    signal expanded

    readonly property size shownSize:
        ContentFormat.shownSize(item?.type ?? 0,
                                Qt.size(item?.contentWidth ?? 0, item?.contentHeight ?? 0),
                                item?.buttons.length ?? 0, Theme.fontSize, maxWidth)

    implicitWidth: shownSize.width
    implicitHeight: shownSize.height

    Part {
        id: part
        width: view.width
        height: buttons.visible ? view.height - buttons.height - ContentMetrics.CaptionSpacing
                                : view.height
        item: view.item
        maxWidth: view.maxWidth
        maxRowCount: view.maxRowCount
        onActivated: (type, text, data) => view.activated(type, text, data)
        onOpened: item => view.opened(item)
        onExpanded: view.expanded()
        onVoted: option => view.voted(option)
    }

    Buttons {
        id: buttons
        anchors.bottom: parent.bottom
        width: parent.width
        item: view.item
        visible: (view.item?.buttons.length ?? 0) > 0
        onPressed: button => view.pressed(button)
    }
}
