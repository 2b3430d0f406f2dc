import QtQuick

/// A content inside another one, in a row: its text, or its kind if it has none.
ContentText {
    id: inner

    property string otherwise
    readonly property bool hasText: item !== null && item.content !== ""

    text: hasText ? "" : otherwise
    pixelSize: Theme.fontSize
}
