import QtQuick
import QtQuick.Shapes
import Velmora

// The product's mark: a ring with a head at a quarter turn.
Item {
    id: mark

    property real size: 24

    implicitWidth: size
    implicitHeight: size
    Accessible.role: Accessible.Graphic
    Accessible.name: "Velmora"

    Shape {
        width: 24
        height: 24
        scale: mark.size / 24
        transformOrigin: Item.TopLeft
        layer.enabled: GraphicsInfo.api !== GraphicsInfo.Software
        layer.samples: 4
        layer.textureSize: Qt.size(mark.size * 4, mark.size * 4)

        ShapePath {
            strokeColor: "#4a2874"
            strokeWidth: 3.2
            fillColor: "transparent"
            PathAngleArc {
                centerX: 12
                centerY: 12
                radiusX: 9
                radiusY: 9
                startAngle: 0; sweepAngle: 360
            }
        }
        ShapePath {
            strokeColor: NeonTheme.core
            strokeWidth: 3.2
            fillColor: "transparent"
            capStyle: ShapePath.RoundCap
            PathAngleArc {
                centerX: 12
                centerY: 12
                radiusX: 9
                radiusY: 9
                startAngle: -90; sweepAngle: 82
            }
        }
        ShapePath {
            strokeWidth: -1
            fillColor: "white"
            PathAngleArc {
                centerX: 20.9
                centerY: 10.75
                radiusX: 2.3
                radiusY: 2.3
                sweepAngle: 360
            }
        }
    }
}
