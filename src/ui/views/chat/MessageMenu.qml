import QtQuick
import QtQuick.Controls
import Talvenne

// The context menu of a message bubble: copy its text, and for a message
// that failed, send it again (only while the radio is connected).
Menu {
    id: menu

    required property ChatViewModel chat
    property string messageId
    property string bodyText
    property bool failed: false

    MenuItem {
        objectName: "copyTextMenuItem"
        text: qsTrId("chat.message.copy.text")
        icon.source: Look.iconSource("doc.on.doc")
        onTriggered: menu.chat.copyText(menu.bodyText)
    }
    MenuItem {
        objectName: "sendAgainMenuItem"
        visible: menu.failed
        height: visible ? implicitHeight : 0
        enabled: menu.chat.connected
        text: qsTrId("chat.message.send.again")
        icon.source: Look.iconSource("arrow.clockwise")
        onTriggered: menu.chat.sendAgain(menu.messageId)
    }
}
