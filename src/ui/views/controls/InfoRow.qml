import QtQuick
import Talvenne

// A label on the left and its value on the right, in one row of a pane.
// Placed by anchors rather than a row layout: the value's wrapped height
// follows the width the row gets at once, so the row is never left with the
// height of a narrower pass (its value drawn above the label, the next row's
// divider running through it).
Item {
    id: row

    property string label
    property string systemImage
    property color tint: Theme.accent
    property string value
    property bool monospaced: false
    property color valueColor: Theme.primaryText

    readonly property real spacing: 8

    implicitWidth: (icon.visible ? icon.width + spacing : 0) + labelText.implicitWidth + spacing
                   + valueText.implicitWidth
    implicitHeight: Math.max(icon.visible ? icon.height : 0, labelText.implicitHeight,
                             valueText.implicitHeight)

    Item {
        id: icon
        visible: row.systemImage.length > 0
        anchors.verticalCenter: parent.verticalCenter
        width: 24
        height: 18
        Icon {
            anchors.centerIn: parent
            symbol: row.systemImage
            color: row.tint
        }
    }
    Text {
        id: labelText
        objectName: "label"
        anchors.left: icon.visible ? icon.right : parent.left
        anchors.leftMargin: icon.visible ? row.spacing : 0
        anchors.verticalCenter: parent.verticalCenter
        text: row.label
        textFormat: Text.PlainText
        color: Theme.secondaryText
        font.pixelSize: Theme.calloutSize
    }
    // One line where there is room; in a narrow pane a long value (a date)
    // wraps rather than being cut, and the row grows with it.
    Text {
        id: valueText
        objectName: "value"
        anchors.left: labelText.right
        anchors.leftMargin: row.spacing
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        horizontalAlignment: Text.AlignRight
        text: row.value
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        color: row.valueColor
        font.pixelSize: row.monospaced ? Theme.captionSize : Theme.calloutSize
        font.family: row.monospaced ? "monospace" : Application.font.family
    }
}
