import QtQuick
import Talvenne

// A row of mutually exclusive segments with a thumb that slides to the
// chosen one. Tab reaches it as one control; Left and Right move the choice.
Rectangle {
    id: control

    // [{ title, symbol (optional), name (object name suffix) }]
    property var segments: []
    property int currentIndex: 0
    property string accessibleName

    signal activated(int index)

    function choose(index) {
        if (index >= 0 && index < segments.length && index !== currentIndex)
            activated(index)
    }

    // Wide enough for every segment to show its whole title.
    implicitWidth: {
        let widest = 0
        for (let i = 0; i < repeater.count; ++i) {
            const item = repeater.itemAt(i)
            if (item)
                widest = Math.max(widest, item.titleWidth)
        }
        return 4 + repeater.count * (widest + 16)
    }
    implicitHeight: 30
    radius: 8
    color: Theme.controlBackground
    activeFocusOnTab: true

    Accessible.role: Accessible.PageTabList
    Accessible.name: accessibleName

    Keys.onLeftPressed: choose(currentIndex - 1)
    Keys.onRightPressed: choose(currentIndex + 1)

    FocusRing {
        shown: control.activeFocus
        radius: control.radius + 3
    }

    Rectangle {
        readonly property real segmentWidth: (control.width - 4) / Math.max(1, control.segments.length)
        x: 2 + control.currentIndex * segmentWidth
        y: 2
        width: segmentWidth
        height: control.height - 4
        radius: 6
        color: Theme.dark ? Qt.rgba(1, 1, 1, 0.16) : "white"
        border.color: Theme.separator
        Behavior on x { NumberAnimation { duration: 150; easing.type: Easing.OutQuad } }
    }
    Row {
        anchors.fill: parent
        anchors.margins: 2
        Repeater {
            id: repeater
            model: control.segments
            delegate: MouseArea {
                id: segment
                required property var modelData
                required property int index
                readonly property bool chosen: control.currentIndex === index
                readonly property real titleWidth: label.implicitWidth + (icon.visible ? 19 : 0)
                objectName: "segment_" + (modelData.name || index)
                width: parent.width / control.segments.length
                height: parent.height
                cursorShape: Qt.PointingHandCursor
                onClicked: control.choose(index)

                Accessible.role: Accessible.PageTab
                Accessible.name: modelData.title
                Accessible.checkable: true
                Accessible.checked: chosen
                Accessible.onPressAction: control.choose(index)

                Row {
                    anchors.centerIn: parent
                    spacing: 6
                    Icon {
                        id: icon
                        anchors.verticalCenter: parent.verticalCenter
                        visible: (segment.modelData.symbol || "").length > 0
                        symbol: segment.modelData.symbol || ""
                        size: 13
                        color: segment.chosen ? Theme.primaryText : Theme.secondaryText
                    }
                    Text {
                        id: label
                        textFormat: Text.PlainText
                        anchors.verticalCenter: parent.verticalCenter
                        width: Math.min(implicitWidth, segment.width - 8)
                        text: segment.modelData.title
                        color: segment.chosen ? Theme.primaryText : Theme.secondaryText
                        font.pixelSize: Theme.subheadlineSize
                        font.weight: segment.chosen ? Font.DemiBold : Font.Normal
                        elide: Text.ElideRight
                    }
                }
            }
        }
    }
}
