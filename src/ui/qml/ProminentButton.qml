import QtQuick
import QtQuick.Controls
import Talvenne

// The default action of a sheet or pane: filled with the accent colour,
// with a spinner in place of its title while `working`.
Button {
    id: button

    property bool working: false

    implicitWidth: Math.max(90, label.implicitWidth + 32)
    implicitHeight: 30
    contentItem: Item {
        Text {
            id: label
            anchors.centerIn: parent
            visible: !button.working
            text: button.text
            color: "white"
            font.pixelSize: Theme.bodySize
            font.weight: Font.DemiBold
        }
        BusyIndicator {
            anchors.centerIn: parent
            visible: button.working
            running: visible
            palette.text: "white"
            width: 18
            height: 18
        }
    }
    background: Rectangle {
        radius: 7
        color: button.down ? Qt.darker(Theme.accent, 1.15) : Theme.accent
        opacity: button.enabled ? 1 : 0.4
    }
}
