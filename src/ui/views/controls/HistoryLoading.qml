import QtQuick
import Talvenne

// What stands in for the conversations while the history is read: a few
// still, faint rows in a list, one quiet line in the chat area. It never
// says that there is nothing, and nothing in it moves.
Item {
    id: loading

    // Rows shaped as the sidebar's, instead of the line.
    property bool rows: false

    Accessible.role: Accessible.StaticText
    Accessible.name: qsTrId("history.loading")

    Column {
        visible: loading.rows
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.topMargin: 30
        spacing: 2

        Repeater {
            model: 6
            delegate: Item {
                required property int index
                width: loading.width
                height: 54

                Rectangle {
                    id: avatar
                    x: 16
                    anchors.verticalCenter: parent.verticalCenter
                    width: 34
                    height: 34
                    radius: 17
                    color: Theme.separator
                }
                Rectangle {
                    anchors.left: avatar.right
                    anchors.leftMargin: 10
                    y: parent.height / 2 - 11
                    width: (loading.width - 76) * (0.55 - 0.05 * (index % 3))
                    height: 9
                    radius: 4.5
                    color: Theme.separator
                }
                Rectangle {
                    anchors.left: avatar.right
                    anchors.leftMargin: 10
                    y: parent.height / 2 + 3
                    width: (loading.width - 76) * (0.85 - 0.1 * ((index + 1) % 3))
                    height: 8
                    radius: 4
                    color: Theme.separator
                    opacity: 0.7
                }
            }
        }
    }

    Text {
        visible: !loading.rows
        anchors.centerIn: parent
        width: Math.min(implicitWidth, loading.width - 40)
        textFormat: Text.PlainText
        text: qsTrId("history.loading")
        color: Theme.secondaryText
        font.pixelSize: Theme.bodySize
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
    }
}
