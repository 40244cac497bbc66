import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// A bordered button drawn in the app's own colours, so it reads well in the
// light and the dark palette alike; an optional symbol leads its title.
Button {
    id: button

    property string symbol
    property color tint: Theme.primaryText

    implicitWidth: Math.max(80, content.implicitWidth + 24)
    implicitHeight: 30
    contentItem: Item {
        RowLayout {
            id: content
            anchors.centerIn: parent
            spacing: 6
            Icon {
                visible: button.symbol.length > 0
                symbol: button.symbol
                size: Theme.calloutSize + 2
                color: button.tint
            }
            Text {
                textFormat: Text.PlainText
                text: button.text
                color: button.tint
                font.pixelSize: Theme.calloutSize
            }
        }
    }
    Accessible.name: text
    background: Rectangle {
        FocusRing {
            shown: button.visualFocus
            radius: 10
        }
        radius: 7
        color: button.down ? Theme.selection : Theme.controlBackground
        border.width: 1
        border.color: Theme.separator
    }
}
