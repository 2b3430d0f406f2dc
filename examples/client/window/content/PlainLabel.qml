import QtQuick

/// A line of text of any origin: never parsed as markup, elided if it is too long.
Text {
    property bool muted: false

    color: muted ? Theme.mutedText : Theme.text
    font.pixelSize: muted ? Theme.smallFontSize : Theme.fontSize
    elide: Text.ElideRight
    maximumLineCount: 1
    textFormat: Text.PlainText
    verticalAlignment: Text.AlignVCenter
}
