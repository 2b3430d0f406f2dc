import QtQuick
import im.modelbase

/// The text below what a content shows; at the bottom of its view.
LongText {
    id: caption

    required property ContentPart part
    /// Of the media above; their caption is no wider. 0: it is measured like any text.
    property real mediaWidth: 0

    anchors.bottom: parent?.bottom
    item: part.item
    textWidth: mediaWidth > 0
               ? Math.max(mediaWidth, Math.min(part.maxWidth, ContentMetrics.LeastCaptionWidth))
               : part.maxWidth
    maxRowCount: part.maxRowCount
    visible: implicitHeight > 0
    onActivated: (type, text, data) => part.activated(type, text, data)
    onExpanded: part.expanded()

    /// What stands above the caption has the rest of `height`.
    function heightAbove(height: real): real {
        return implicitHeight > 0 ? height - implicitHeight - ContentMetrics.CaptionSpacing : height
    }
}
