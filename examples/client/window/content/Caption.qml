import QtQuick
import im.modelbase

/// The text below what a content shows; at the bottom of its parent.
ContentText {
    id: caption

    required property real maxWidth
    /// Of the media above; their caption is no wider. 0: it is measured like any text.
    property real mediaWidth: 0

    anchors.bottom: parent?.bottom
    textWidth: mediaWidth > 0
               ? Math.max(mediaWidth, Math.min(maxWidth, ContentMetrics.LeastCaptionWidth))
               : maxWidth
    visible: implicitHeight > 0

    /// What stands above the caption has the rest of `height`.
    function heightAbove(height: real): real {
        return implicitHeight > 0 ? height - implicitHeight - ContentMetrics.CaptionSpacing : height
    }
}
