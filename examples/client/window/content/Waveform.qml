pragma ComponentBehavior: Bound

import QtQuick

/// The loudness of a voice message, as bars; a line if it was not measured.
Item {
    id: wave

    required property var sample
    readonly property int count: Math.max(1, Math.floor((width + 2) / 5))

    /// Heights between 0 and 1: as many as fit.
    readonly property var bars: resampled(new Uint8Array(sample), count)

    function resampled(bytes: var, wanted: int): var {
        const heights = []
        let greatest = 1
        for (const value of bytes)
            greatest = Math.max(greatest, value)
        for (let i = 0; i < wanted; ++i) {
            const at = Math.floor(i * bytes.length / wanted)
            heights.push(bytes.length > 0 ? bytes[at] / greatest : 0)
        }
        return heights
    }

    Repeater {
        model: wave.bars

        Rectangle {
            required property int index
            required property real modelData

            x: 5 * index
            y: wave.height - height
            width: 3
            height: Math.max(3, modelData * wave.height)
            radius: 1.5
            color: Theme.accent
        }
    }
}
