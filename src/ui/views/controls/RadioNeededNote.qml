import QtQuick
import QtQuick.Layouts
import Talvenne

// Above the actions that need the radio while it is away: why they are off.
RowLayout {
    id: note

    required property ShellModel shell

    objectName: "radioNeededNote"
    visible: !note.shell.connected
    spacing: 6
    Accessible.role: Accessible.StaticText
    Accessible.name: reason.text

    Icon {
        Layout.alignment: Qt.AlignTop
        symbol: "wifi.slash"
        size: Theme.calloutSize
        color: Theme.secondaryText
    }
    Text {
        id: reason
        Layout.fillWidth: true
        text: note.shell.radioNeededReason
        textFormat: Text.PlainText
        color: Theme.secondaryText
        font.pixelSize: Theme.calloutSize
        wrapMode: Text.Wrap
    }
}
