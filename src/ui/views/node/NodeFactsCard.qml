import QtQuick
import QtQuick.Layouts
import Talvenne

// Routing, path length and last advert of a node, on one card.
Rectangle {
    id: card

    required property NodeDetailModel node

    implicitHeight: column.implicitHeight
    radius: 16
    color: Theme.controlBackground
    border.width: 1
    border.color: Theme.separator

    component Divider: Rectangle {
        Layout.fillWidth: true
        Layout.leftMargin: 44
        implicitHeight: 1
        color: Theme.separator
    }

    ColumnLayout {
        id: column
        width: card.width
        spacing: 0
        InfoRow {
            objectName: "routingRow"
            Layout.fillWidth: true
            Layout.margins: 12
            Layout.leftMargin: 16
            Layout.rightMargin: 16
            label: qsTrId("node.detail.routing")
            systemImage: card.node.routingSymbol
            tint: Theme.tint(card.node.routingTint)
            value: card.node.routingText
        }
        Divider { visible: card.node.showsPathLength }
        InfoRow {
            objectName: "pathLengthRow"
            Layout.fillWidth: true
            Layout.margins: 12
            Layout.leftMargin: 16
            Layout.rightMargin: 16
            visible: card.node.showsPathLength
            label: qsTrId("node.detail.path.length")
            systemImage: "arrow.left.and.right"
            value: card.node.pathLengthText
        }
        Divider {}
        InfoRow {
            Layout.fillWidth: true
            Layout.margins: 12
            Layout.leftMargin: 16
            Layout.rightMargin: 16
            label: qsTrId("node.detail.last.seen")
            systemImage: "clock"
            value: card.node.lastSeenText
        }
    }
}
