import QtQuick
import QtQuick.Controls
import Talvenne

// A small borderless button showing only a symbol. `text` is its name for
// screen readers and its tooltip, since nothing else says what it does.
AbstractButton {
    id: button

    property string symbol
    property color tint: Theme.accent
    property real symbolSize: 14

    implicitWidth: symbolSize + 14
    implicitHeight: symbolSize + 14
    hoverEnabled: true
    Accessible.role: Accessible.Button
    Accessible.name: text
    ToolTip.visible: hovered && text.length > 0
    ToolTip.delay: 600
    ToolTip.text: text

    contentItem: Item {
        Icon {
            anchors.centerIn: parent
            symbol: button.symbol
            size: button.symbolSize
            color: button.tint
            opacity: button.enabled ? 1 : 0.4
        }
    }
    background: Rectangle {
        radius: 6
        color: button.down ? Theme.selection : button.hovered ? Theme.controlBackground : "transparent"
        FocusRing {
            shown: button.visualFocus
            inset: -2
            radius: 8
        }
    }
}
