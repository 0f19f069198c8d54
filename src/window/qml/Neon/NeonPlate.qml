import QtQuick
import QtQuick.Shapes
import Velmora

// A rounded plate with a gradient: a Rectangle's own has ragged edges on the software renderer.
Shape {
    id: plate

    property real radius: NeonTheme.radiusSmall
    property color from: NeonTheme.deep
    property color to: NeonTheme.edge
    property bool across: false

    layer.enabled: GraphicsInfo.api !== GraphicsInfo.Software
    layer.samples: 4

    ShapePath {
        strokeWidth: -1
        fillGradient: LinearGradient {
            x2: plate.across ? plate.width : 0
            y2: plate.across ? 0 : plate.height
            GradientStop { position: 0; color: plate.from }
            GradientStop { position: 1; color: plate.to }
        }
        startX: plate.radius
        PathLine { x: plate.width - plate.radius; y: 0 }
        PathArc { x: plate.width; y: plate.radius; radiusX: plate.radius; radiusY: plate.radius }
        PathLine { x: plate.width; y: plate.height - plate.radius }
        PathArc { x: plate.width - plate.radius; y: plate.height; radiusX: plate.radius; radiusY: plate.radius }
        PathLine { x: plate.radius; y: plate.height }
        PathArc { x: 0; y: plate.height - plate.radius; radiusX: plate.radius; radiusY: plate.radius }
        PathLine { x: 0; y: plate.radius }
        PathArc { x: plate.radius; y: 0; radiusX: plate.radius; radiusY: plate.radius }
    }
}
