import QtQuick
import QtQuick.Shapes
import Talvenne

// A round avatar filled with the gradient of its seed, showing a symbol or,
// without one, the initials.
Item {
    id: avatar

    property string seed
    property string initials
    property string symbol
    property real size: 36

    readonly property var colors: Look.avatarColors(seed)

    implicitWidth: size
    implicitHeight: size

    // Soft shadow one pixel below.
    Rectangle {
        y: 1
        width: avatar.size
        height: avatar.size
        radius: width / 2
        color: Qt.rgba(0, 0, 0, 0.15)
    }

    Shape {
        anchors.fill: parent
        antialiasing: true
        ShapePath {
            strokeWidth: -1
            fillGradient: LinearGradient {
                x1: 0; y1: 0
                x2: avatar.size; y2: avatar.size
                GradientStop { position: 0; color: avatar.colors[0] }
                GradientStop { position: 1; color: avatar.colors[1] }
            }
            startX: avatar.size / 2; startY: 0
            PathArc { x: avatar.size / 2; y: avatar.size; radiusX: avatar.size / 2; radiusY: avatar.size / 2 }
            PathArc { x: avatar.size / 2; y: 0; radiusX: avatar.size / 2; radiusY: avatar.size / 2 }
        }
    }

    Icon {
        anchors.centerIn: parent
        visible: avatar.symbol.length > 0
        symbol: avatar.symbol
        size: Math.round(avatar.size * 0.46)
        color: "white"
    }

    Text {
        anchors.centerIn: parent
        visible: avatar.symbol.length === 0
        text: avatar.initials
        textFormat: Text.PlainText
        color: "white"
        font.pixelSize: Math.round(avatar.size * 0.38)
        font.bold: true
    }
}
