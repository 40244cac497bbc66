import QtQuick
import Talvenne

// The sidebar's segmented picker between messages and nodes.
SegmentedControl {
    id: picker

    property string mode: "messages"
    readonly property var modes: ["messages", "nodes"]

    signal picked(string mode)

    objectName: "modePicker"
    accessibleName: qsTrId("main.mode.picker")
    segments: [
        { name: "messages", title: qsTrId("main.mode.messages"), symbol: "bubble.left.and.bubble.right.fill" },
        { name: "nodes", title: qsTrId("main.mode.nodes"), symbol: "point.3.connected.trianglepath.dotted" }
    ]
    currentIndex: modes.indexOf(mode)
    onActivated: (index) => picked(modes[index])
}
