import QtQuick
import im.modelbase
import Messenger.Content

/// A voice message: a play button, its waveform, its duration; a caption.
ContentPart {
    id: view

    readonly property VoiceItem voice: item as VoiceItem

    Item {
        id: bar
        width: view.mediaWidth
        height: caption.heightAbove(view.height)

        RoundButton {
            id: play
            path: Icons.play
            onClicked: view.opened(view.item)
        }

        Waveform {
            anchors.left: play.right
            anchors.leftMargin: ContentMetrics.RowSpacing
            anchors.right: parent.right
            height: 26
            sample: view.voice?.sample ?? new ArrayBuffer(0)
        }

        PlainLabel {
            anchors.left: play.right
            anchors.leftMargin: ContentMetrics.RowSpacing
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            muted: true
            text: ContentFormat.duration(view.voice?.duration ?? 0)
        }
    }

    Caption {
        id: caption
        part: view
        mediaWidth: view.mediaWidth
    }
}
