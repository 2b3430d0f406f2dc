import QtQuick
import im.modelbase

/// The text below a content; at the bottom of its view.
LongText {
    id: caption

    required property ContentPart part
    /// The width of the media above, which limits the caption's. 0: measured like any text.
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

    /// The height for the content above the caption.
    function heightAbove(height: real): real {
        return implicitHeight > 0 ? height - implicitHeight - ContentMetrics.CaptionSpacing : height
    }
}
