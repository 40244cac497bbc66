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
    property bool selectable: false
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
    // A wrapping value's height follows from the width the layout gives
    // it, which layouts do not handle: a height that changes while the
    // layout runs (an opening pane passes narrow widths) is kept stale. The
    // value's height is handed to the layout once the pass is over instead.
    Item {
        id: valueBox

        property real settledHeight: valueText.height

        Layout.fillWidth: true
        Layout.alignment: Qt.AlignVCenter
        Layout.preferredHeight: settledHeight
        implicitWidth: valueText.implicitWidth

        TextEdit {
            id: valueText
            objectName: "value"
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            onHeightChanged: settle.start()
            Timer { id: settle; interval: 0; onTriggered: valueBox.settledHeight = valueText.height }
            horizontalAlignment: Text.AlignRight
            text: row.value
            textFormat: TextEdit.PlainText
            readOnly: true
            selectByMouse: row.selectable
            // One line where there is room; in a narrow pane a long value
            // (a date) wraps rather than being cut.
            wrapMode: TextEdit.Wrap
            color: row.valueColor
            selectionColor: Theme.selection
            font.pixelSize: row.monospaced ? Theme.captionSize : Theme.calloutSize
            font.family: row.monospaced ? "monospace" : Application.font.family
        }
    }
}
