import QtQuick
import QtQuick.Layouts
import Talvenne

// A label on the left and its value on the right, in one row of a pane.
RowLayout {
    id: row

    property string label
    property string value
    property bool monospaced: false
    property bool selectable: false
    property color valueColor: Theme.primaryText

    spacing: 8

    Text {
        text: row.label
        color: Theme.secondaryText
        font.pixelSize: Theme.calloutSize
    }
    Item { Layout.fillWidth: true }
    TextEdit {
        objectName: "value"
        Layout.maximumWidth: row.width * 0.65
        horizontalAlignment: Text.AlignRight
        text: row.value
        readOnly: true
        selectByMouse: row.selectable
        wrapMode: TextEdit.Wrap
        color: row.valueColor
        selectionColor: Theme.selection
        font.pixelSize: row.monospaced ? Theme.captionSize : Theme.calloutSize
        font.family: row.monospaced ? "monospace" : Qt.application.font.family
    }
}
