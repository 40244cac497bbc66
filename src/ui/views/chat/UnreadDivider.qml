import QtQuick
import QtQuick.Layouts
import Talvenne

// "40 new messages" between a line on either side: where the messages that
// were unread when the chat opened begin. Tab and screen readers reach it.
Item {
    id: divider

    property string text

    implicitHeight: label.implicitHeight + 8
    height: implicitHeight
    activeFocusOnTab: visible

    Accessible.role: Accessible.StaticText
    Accessible.name: text

    RowLayout {
        anchors.fill: parent
        spacing: 10
        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 1
            color: Theme.accent
            opacity: 0.6
        }
        Text {
            id: label
            objectName: "unreadDividerText"
            text: divider.text
            textFormat: Text.PlainText
            color: Theme.accent
            font.pixelSize: Theme.captionSize
            font.weight: Font.DemiBold
        }
        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 1
            color: Theme.accent
            opacity: 0.6
        }
    }
    FocusRing {
        shown: divider.activeFocus
        radius: 6
    }
}
