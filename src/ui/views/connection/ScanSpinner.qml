import QtQuick
import Talvenne

// The scan's activity mark: eight dots round a circle, a bright one with a
// short fading tail going round, one dot on at each `step`.
Item {
    id: spinner

    property int step: 0
    property color color: Theme.accent

    implicitWidth: 22
    implicitHeight: 22

    Repeater {
        model: 8
        Rectangle {
            required property int index
            readonly property real angle: index * Math.PI / 4
            // How many steps ago the bright dot was here.
            readonly property int behind: (spinner.step - index + 8) % 8
            width: 4
            height: 4
            radius: 2
            x: spinner.width / 2 - 2 + Math.sin(angle) * (spinner.width / 2 - 3)
            y: spinner.height / 2 - 2 - Math.cos(angle) * (spinner.height / 2 - 3)
            color: spinner.color
            opacity: behind === 0 ? 1 : behind === 1 ? 0.6 : behind === 2 ? 0.4 : 0.2
        }
    }
}
