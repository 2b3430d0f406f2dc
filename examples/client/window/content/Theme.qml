pragma Singleton

import QtQuick
import im.modelbase

/// The colours and sizes of all views. Every text has a contrast of at least 4.5:1 with its
/// background (WCAG 2.1, 1.4.3).
QtObject {
    readonly property bool dark: AppSettingModel.darkMode

    // Surfaces
    readonly property color window: dark ? "#11151a" : "#ffffff"
    readonly property color panel: dark ? "#171c22" : "#f6f7f9"
    readonly property color bubble: dark ? "#1f262e" : "#eff1f4"
    readonly property color ownBubble: dark ? "#173753" : "#dbebff"
    /// The background of system lines.
    readonly property color notice: dark ? "#20262d" : "#e8ebef"
    /// The background of selected or hovered items.
    readonly property color highlight: dark ? "#26313c" : "#e3e9f1"
    readonly property color separator: dark ? "#2b333c" : "#d5dae0"
    /// On bubbles: the background of code, quotes, and icon boxes.
    readonly property color shade: dark ? "#14ffffff" : "#0f1b2733"
    /// Over pictures, behind white text.
    readonly property color scrim: "#a6000000"

    // Texts, on any of these backgrounds
    readonly property color text: dark ? "#e9edf2" : "#1b1f24"
    readonly property color mutedText: dark ? "#a9b3be" : "#505862"
    readonly property color link: dark ? "#8cc4ff" : "#0a539f"
    readonly property color right: dark ? "#7ddc9a" : "#0f5c2c"
    readonly property color wrong: dark ? "#ffa8a3" : "#a51d20"
    readonly property color scrimText: "#ffffff"

    // Controls
    readonly property color accent: dark ? "#2f7fd0" : "#0b62b8"
    readonly property color accentText: dark ? "#08121d" : "#ffffff"
    /// The unfilled part of a bar or waveform.
    readonly property color track: dark ? "#3c4855" : "#bcc6d1"
    readonly property color badge: dark ? "#d9534f" : "#b3261e"
    readonly property color badgeText: dark ? "#1a0605" : "#ffffff"
    readonly property color spoiler: dark ? "#5b6673" : "#98a3af"

    // Sizes, in pixels
    readonly property int fontSize: AppSettingModel.themeFontSize
    readonly property int smallFontSize: Math.max(10, fontSize - 2)
    readonly property int radius: 8

    /// Has symbols in the text colour, while the application's font may have emoji.
    readonly property string symbolFont: "DejaVu Sans"
}
