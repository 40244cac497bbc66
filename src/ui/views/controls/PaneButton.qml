import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// A full-width button of an inspector pane: a tinted symbol and a title.
Button {
    id: button

    property string symbol
    property color tint: Theme.primaryText

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
            color: button.tint
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
