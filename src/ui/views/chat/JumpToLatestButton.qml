import QtQuick
import QtQuick.Controls
import Talvenne

// Floats over a chat scrolled away from its end: a round button with a down
// arrow that goes back there, with the number of messages that arrived
// meanwhile beside it.
AbstractButton {
    id: button

    property int count: 0

    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    implicitWidth: Math.max(40, row.implicitWidth + 24)
    implicitHeight: 40
    text: qsTrId("chat.jump.latest")

    Accessible.role: Accessible.Button
    Accessible.name: count > 0 ? text + ", " + qsTrId("chat.jump.latest.new", count) : text

    ToolTip.visible: hovered
    ToolTip.delay: 600
    ToolTip.text: text + " (" + Look.shortcutText("Ctrl+End") + ")"

    background: Rectangle {
        radius: height / 2
        color: button.pressed ? Qt.darker(Theme.accentFill, 1.15) : Theme.accentFill
        border.width: 1
        border.color: Theme.separator
        FocusRing {
            shown: button.visualFocus
            inset: -3
            radius: height / 2 + 3
        }
    }
    contentItem: Item {
        Row {
            id: row
            anchors.centerIn: parent
            spacing: 6
            Text {
                objectName: "jumpCount"
                anchors.verticalCenter: parent.verticalCenter
                visible: button.count > 0
                text: button.count
                textFormat: Text.PlainText
                color: "white"
                font.pixelSize: Theme.captionSize + 1
                font.bold: true
            }
            Icon {
                anchors.verticalCenter: parent.verticalCenter
                symbol: "arrow.down"
                size: 18
                color: "white"
            }
        }
    }
}
