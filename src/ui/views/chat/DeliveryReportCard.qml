import QtQuick
import QtQuick.Layouts
import Talvenne

// The unfolded delivery report of an outgoing message: one row per line,
// each an icon in its tint and a secondary text.
Rectangle {
    id: card

    // [{symbol, text, tint}], as the message list model gives them.
    property var lines: []

    implicitWidth: Math.min(240, column.implicitWidth + 20)
    implicitHeight: column.implicitHeight + 16
    radius: 10
    color: Theme.dark ? Qt.rgba(1, 1, 1, 0.07) : Qt.rgba(1, 1, 1, 0.75)
    border.width: 1
    border.color: Theme.separator

    ColumnLayout {
        id: column
        x: 10
        y: 8
        width: card.width - 20
        spacing: 4

        Repeater {
            model: card.lines
            RowLayout {
                id: line
                objectName: "reportLine"
                required property var modelData
                Layout.fillWidth: true
                spacing: 6
                Item {
                    Layout.preferredWidth: 14
                    Layout.preferredHeight: 14
                    Layout.alignment: Qt.AlignTop
                    Icon {
                        anchors.centerIn: parent
                        symbol: line.modelData.symbol
                        size: Theme.caption2Size + 1
                        color: Theme.tint(line.modelData.tint)
                    }
                }
                Text {
                    textFormat: Text.PlainText
                    Layout.fillWidth: true
                    Layout.maximumWidth: 240 - 20 - 14 - 6
                    text: line.modelData.text
                    color: Theme.secondaryText
                    font.pixelSize: Theme.caption2Size
                    wrapMode: Text.Wrap
                }
            }
        }
    }
}
