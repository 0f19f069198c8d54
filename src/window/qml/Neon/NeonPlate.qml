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

    component Corner: PathArc {
        radiusX: plate.radius
        radiusY: plate.radius
    }

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
        Corner { x: plate.width; y: plate.radius }
        PathLine { x: plate.width; y: plate.height - plate.radius }
        Corner { x: plate.width - plate.radius; y: plate.height }
        PathLine { x: plate.radius; y: plate.height }
        Corner { x: 0; y: plate.height - plate.radius }
        PathLine { x: 0; y: plate.radius }
        Corner { x: plate.radius; y: 0 }
    }
}
