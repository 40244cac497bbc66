import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// A flat toolbar button: an icon, optionally its label, and a tooltip.
AbstractButton {
    id: button

    property string symbol
    property string help
    property color tint: Theme.primaryText
    property bool showText: false

    hoverEnabled: true
    opacity: enabled ? 1 : 0.45
    padding: 7
    leftPadding: showText ? 10 : 7
    rightPadding: showText ? 12 : 7
    implicitHeight: 32
    implicitWidth: Math.max(32, contentItem.implicitWidth + leftPadding + rightPadding)

    ToolTip.visible: hovered && help.length > 0
    ToolTip.delay: 600
    ToolTip.text: help
    Accessible.name: text
    Accessible.description: help

    FocusRing {
        shown: button.visualFocus
        radius: 10
    }

    background: Rectangle {
        radius: 8
        color: button.checked || button.down ? Theme.selection
              : button.hovered ? Theme.controlBackground : "transparent"
    }
    contentItem: RowLayout {
        spacing: 6
        Icon {
            Layout.alignment: Qt.AlignVCenter
            symbol: button.symbol
            size: 17
            color: button.tint
        }
        Text {
            textFormat: Text.PlainText
            visible: button.showText
            Layout.alignment: Qt.AlignVCenter
            text: button.text
            color: button.tint
            font.pixelSize: Theme.calloutSize
        }
    }
}
