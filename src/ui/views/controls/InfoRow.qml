import QtQuick
import QtQuick.Layouts
import Talvenne

// A label on the left and its value on the right, in one row of a pane.
RowLayout {
    id: row

    property string label
    property string systemImage
    property color tint: Theme.accent
    property string value
    property bool monospaced: false
    property color valueColor: Theme.primaryText

    spacing: 8

    Item {
        visible: row.systemImage.length > 0
        Layout.preferredWidth: 24
        Layout.preferredHeight: 18
        Icon {
            anchors.centerIn: parent
            symbol: row.systemImage
            color: row.tint
        }
    }
    Text {
        text: row.label
        textFormat: Text.PlainText
        color: Theme.secondaryText
        font.pixelSize: Theme.calloutSize
    }
    // One line where there is room; in a narrow pane a long value (a date)
    // wraps rather than being cut, and the row grows with it. A Text tells
    // the layout its wrapped height while the layout places it; a TextEdit
    // tells it later, and the row kept the height of a narrower pass.
    Text {
        objectName: "value"
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignRight
        text: row.value
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        color: row.valueColor
        font.pixelSize: row.monospaced ? Theme.captionSize : Theme.calloutSize
        font.family: row.monospaced ? "monospace" : Application.font.family
    }
}
