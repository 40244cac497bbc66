import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// A full-width button of an inspector pane: a tinted symbol and a title,
// in the tint too unless `labelColor` says otherwise.
Button {
    id: button

    property string symbol
    property color tint: Theme.primaryText
    property color labelColor: tint

    Layout.fillWidth: true
    implicitHeight: 32
    contentItem: RowLayout {
        spacing: 8
        Icon {
            symbol: button.symbol
            color: button.tint
        }
        Text {
            textFormat: Text.PlainText
            Layout.fillWidth: true
            text: button.text
            color: button.labelColor
            font.pixelSize: Theme.calloutSize
        }
    }
    Accessible.name: text
    background: Rectangle {
        FocusRing {
            shown: button.visualFocus
            radius: 11
        }
        radius: 8
        color: button.down ? Theme.selection : button.hovered ? Qt.darker(Theme.controlBackground, 1.1) : Theme.controlBackground
    }
}
