import QtQuick
import QtQuick.Shapes

/// A drawing of 24 by 24 units, filled or as strokes.
Item {
    id: icon

    property string path
    property color color: Theme.text
    property bool filled: true

    implicitWidth: 24
    implicitHeight: 24

    Shape {
        width: 24
        height: 24
        anchors.centerIn: parent
        scale: Math.min(icon.width, icon.height) / 24
        // Drawn by the processor, a shape of its own pays no heed to the clipping of its view.
        layer.enabled: GraphicsInfo.api === GraphicsInfo.Software

        ShapePath {
            fillColor: icon.filled ? icon.color : "transparent"
            strokeColor: icon.filled ? "transparent" : icon.color
            strokeWidth: 2
            capStyle: ShapePath.RoundCap
            joinStyle: ShapePath.RoundJoin

            PathSvg { path: icon.path }
        }
    }
}
