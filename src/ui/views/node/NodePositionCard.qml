import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Where a node is: its coordinates and a button that opens the position on
// OpenStreetMap in the browser. Shown only for nodes with a position.
Rectangle {
    id: card

    required property NodeDetailModel node

    objectName: "positionCard"
    visible: node.hasPosition
    implicitHeight: column.implicitHeight + 24
    radius: 16
    color: Theme.controlBackground
    border.width: 1
    border.color: Theme.separator

    ColumnLayout {
        id: column
        x: 16
        y: 12
        width: card.width - 32
        spacing: 8
        RowLayout {
            spacing: 8
            Icon {
                symbol: "location.fill"
                color: Theme.red
            }
            TextEdit {
                objectName: "coordinates"
                Layout.fillWidth: true
                text: card.node.coordinateText
                textFormat: TextEdit.PlainText
                readOnly: true
                selectByMouse: true
                color: Theme.primaryText
                selectionColor: Theme.selection
                font.pixelSize: Theme.calloutSize
                font.family: "monospace"
            }
        }
        Button {
            objectName: "openMapButton"
            text: qsTrId("node.detail.map.open")
            icon.source: Look.iconSource("arrow.up.right")
            flat: true
            onClicked: Qt.openUrlExternally(card.node.mapUrl)
        }
    }
}
