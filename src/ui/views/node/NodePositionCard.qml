import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Where a node is: a map of it, its coordinates, how far it is from the
// user's radio, and a button that opens the position on OpenStreetMap in
// the browser. Shown only for nodes with a position.
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
        NodeMap {
            id: nodeMap
            Layout.fillWidth: true
            Layout.preferredHeight: implicitHeight
            controller: card.node.controller
            publicKey: card.node.publicKey
            compact: card.node.inspector
        }
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
        RowLayout {
            objectName: "distanceRow"
            visible: nodeMap.distanceText.length > 0
            spacing: 8
            Icon {
                symbol: "location.north.circle"
                color: Theme.accent
            }
            Label {
                text: qsTrId("node.detail.distance")
                textFormat: Text.PlainText
                color: Theme.secondaryText
                font.pixelSize: Theme.calloutSize
            }
            Label {
                objectName: "distanceText"
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignRight
                text: nodeMap.distanceText
                textFormat: Text.PlainText
                color: Theme.primaryText
                font.pixelSize: Theme.calloutSize
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
