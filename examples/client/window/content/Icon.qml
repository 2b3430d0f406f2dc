import QtQuick
import QtQuick.Shapes

/// A drawing on 24 by 24 units, filled or stroked.
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
        // In software rendering, a shape without a layer ignores the clipping of its view.
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
