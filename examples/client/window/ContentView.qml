import QtQuick
import im.modelbase

Text {
    required property ContentItem item
    property real maxWidth
    width: item ? item.contentWidth : 0
    height: item ? item.contentHeight : 0
    text: item ? item.content : ""
    color: Theme.text
    wrapMode: Text.Wrap
    clip: true
}
