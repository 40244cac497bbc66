import QtQuick
import QtQuick.Layouts
import Talvenne

// A failure reported by the radio, shown inside the sheet or pane; with
// another symbol and tint, a note on what was typed.
RowLayout {
    property string message
    property string symbol: "exclamationmark.triangle.fill"
    property color tint: Theme.red

    visible: message.length > 0
    spacing: 6

    Icon {
        Layout.alignment: Qt.AlignTop
        symbol: parent.symbol
        size: Theme.calloutSize + 2
        color: parent.tint
    }
    Text {
        textFormat: Text.PlainText
        Layout.fillWidth: true
        text: parent.message
        color: parent.tint === Theme.red ? Theme.red : Theme.primaryText
        font.pixelSize: Theme.calloutSize
        wrapMode: Text.Wrap
    }
}
