import QtQuick
import Talvenne

// The small round mark beside an incoming channel message: the first letter
// or digit of the sender's name on a pale circle of the sender's colour.
Rectangle {
    property color senderColor
    property string badgeText

    width: 24
    height: 24
    radius: 12
    color: Qt.rgba(senderColor.r, senderColor.g, senderColor.b, 0.2)

    Text {
        anchors.centerIn: parent
        text: parent.badgeText
        textFormat: Text.PlainText
        color: parent.senderColor
        font.pixelSize: Theme.captionSize
        font.bold: true
    }
}
