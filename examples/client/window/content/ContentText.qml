import QtQuick
import Messenger.Content

/// A text of an item in the theme's colours.
MessageText {
    color: Theme.text
    linkColor: Theme.link
    mutedColor: Theme.mutedText
    codeColor: Theme.shade
    quoteColor: Theme.accent
    spoilerColor: Theme.spoiler
}
