import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Scan (accent, white label), Scan Again once a scan is over, or Stop
// (plain) under the radios card.
AbstractButton {
    id: button

    required property ShellModel shell
    readonly property bool stops: shell.showStop
    readonly property color labelColor: stops ? Theme.primaryText : "white"

    text: stops ? qsTrId("connection.button.stop")
                : qsTrId(shell.scanFinished ? "connection.button.scan.again" : "connection.button.scan")
    enabled: stops || shell.canScan
    opacity: enabled ? 1 : 0.45
    hoverEnabled: true
    padding: 9
    leftPadding: 18
    rightPadding: 18
    background: Rectangle {
        implicitHeight: 34
        radius: 9
        color: button.stops
               ? (button.hovered ? Theme.selection : Theme.controlBackground)
               : (button.down ? Qt.darker(Theme.accentFill, 1.15) : Theme.accentFill)
        border.color: button.stops ? Theme.separator : "transparent"
    }
    contentItem: RowLayout {
        spacing: 7
        Icon {
            symbol: button.stops ? "stop.fill" : "arrow.clockwise"
            size: 14
            color: button.labelColor
        }
        Text {
            textFormat: Text.PlainText
            text: button.text
            color: button.labelColor
            font.pixelSize: Theme.bodySize
            font.weight: Font.Medium
        }
    }
    Accessible.name: text
    FocusRing {
        shown: button.visualFocus
        radius: 12
    }
    onClicked: stops ? shell.stopScan() : shell.startScan()
}
