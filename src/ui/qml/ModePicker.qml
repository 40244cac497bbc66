import QtQuick
import Talvenne

// The sidebar's segmented picker between messages and nodes, with a thumb
// that slides to the chosen half.
Rectangle {
    id: picker

    property string mode: "messages"
    readonly property var segments: [
        { mode: "messages", key: "main.mode.messages", symbol: "bubble.left.and.bubble.right.fill" },
        { mode: "nodes", key: "main.mode.nodes", symbol: "point.3.connected.trianglepath.dotted" }
    ]

    signal picked(string mode)

    implicitHeight: 30
    radius: 8
    color: Theme.controlBackground

    Rectangle {
        x: 2 + (picker.mode === "nodes" ? (parent.width - 4) / 2 : 0)
        y: 2
        width: (parent.width - 4) / 2
        height: parent.height - 4
        radius: 6
        color: Theme.dark ? Qt.rgba(1, 1, 1, 0.16) : "white"
        border.color: Theme.separator
        Behavior on x { NumberAnimation { duration: 150; easing.type: Easing.OutQuad } }
    }
    Row {
        anchors.fill: parent
        Repeater {
            model: picker.segments
            delegate: MouseArea {
                id: segment
                required property var modelData
                readonly property bool chosen: picker.mode === modelData.mode
                objectName: "modeButton_" + modelData.mode
                width: parent.width / 2
                height: parent.height
                cursorShape: Qt.PointingHandCursor
                onClicked: picker.picked(modelData.mode)
                Row {
                    anchors.centerIn: parent
                    spacing: 6
                    Icon {
                        anchors.verticalCenter: parent.verticalCenter
                        symbol: segment.modelData.symbol
                        size: 13
                        color: segment.chosen ? Theme.primaryText : Theme.secondaryText
                    }
                    Text {
                        anchors.verticalCenter: parent.verticalCenter
                        text: qsTrId(segment.modelData.key)
                        color: segment.chosen ? Theme.primaryText : Theme.secondaryText
                        font.pixelSize: Theme.subheadlineSize
                        font.weight: segment.chosen ? Font.DemiBold : Font.Normal
                    }
                }
            }
        }
    }
}
