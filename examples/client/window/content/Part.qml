import QtQuick
import im.modelbase
import Messenger.Content

/// Shows an item with the view of its kind.
Item {
    id: part

    required property ContentItem item
    required property real maxWidth
    property int maxRowCount: 0
    readonly property string viewName: Views.nameOf(item?.type ?? 0)

    signal activated(type: int, text: string, data: var)
    signal opened(item: ContentItem)
    signal expanded
    signal voted(option: int)

    // An item may be destroyed before another one of the same kind comes; until then its view
    // stays, empty.
    function refresh() {
        if (visible && viewName !== loader.viewName && (item || !loader.shown))
            load()
    }
    // By name: views of groups show parts themselves.
    function load() {
        loader.viewName = viewName
        loader.setSource(viewName + ".qml",
                         { item: item, maxWidth: maxWidth, maxRowCount: maxRowCount })
    }

    onViewNameChanged: refresh()
    onVisibleChanged: refresh()
    onItemChanged: {
        if (loader.shown)
            loader.shown.item = item
    }
    Component.onCompleted: refresh()

    Loader {
        id: loader

        readonly property ContentPart shown: item as ContentPart
        property string viewName

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
