import QtQuick
import QtQuick.Layouts
import Talvenne

// A failure reported by the radio, shown inside the sheet or pane.
RowLayout {
    property string message

    visible: message.length > 0
    spacing: 6

    Icon {
        Layout.alignment: Qt.AlignTop
        symbol: "exclamationmark.triangle.fill"
        size: Theme.calloutSize + 2
        color: Theme.red
    }
    Text {
        textFormat: Text.PlainText
        Layout.fillWidth: true
        text: parent.message
        color: Theme.red
        font.pixelSize: Theme.calloutSize
        wrapMode: Text.Wrap
    }
}
