import QtQuick
import QtQuick.Controls
import Talvenne

// The default action of a sheet or pane: filled with the accent colour,
// with an optional leading symbol and a spinner in place of its title while
// `working`. Disabled, it turns grey so that it cannot pass for enabled.
Button {
    id: button

    property bool working: false
    property string symbol
    readonly property color labelColor: enabled ? "white" : Theme.secondaryText

    implicitWidth: Math.max(90, label.implicitWidth + 32)
    implicitHeight: 30
    Accessible.name: text
    contentItem: Item {
        Row {
            id: label
            anchors.centerIn: parent
            visible: !button.working
            spacing: 6
            Icon {
                anchors.verticalCenter: parent.verticalCenter
                visible: button.symbol.length > 0
                symbol: button.symbol
                size: Theme.bodySize + 1
                color: button.labelColor
            }
            Text {
                textFormat: Text.PlainText
                anchors.verticalCenter: parent.verticalCenter
                text: button.text
                color: button.labelColor
                font.pixelSize: Theme.bodySize
                font.weight: Font.DemiBold
            }
        }
        BusyIndicator {
            objectName: "workingSpinner"
            anchors.centerIn: parent
            visible: button.working
            running: visible
            palette.text: "white"
            padding: 0
            width: 18
            height: 18
        }
    }
    background: Rectangle {
        radius: 7
        color: !button.enabled ? Theme.controlBackground
               : button.down ? Qt.darker(Theme.accentFill, 1.15) : Theme.accentFill
        border.width: button.enabled ? 0 : 1
        border.color: Theme.separator
        FocusRing {
            shown: button.visualFocus
            radius: 10
        }
    }
}
