import QtQuick
import QtQuick.Layouts
import Talvenne

// A node's whole public key, selectable for copying.
RowLayout {
    id: row

    property string publicKey

    spacing: 8

    Item {
        Layout.alignment: Qt.AlignTop
        Layout.preferredWidth: 24
        Layout.preferredHeight: 18
        Icon {
            anchors.centerIn: parent
            symbol: "key.fill"
            color: Theme.accent
        }
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2
        Text {
            textFormat: Text.PlainText
            text: qsTrId("Public key")
            color: Theme.secondaryText
            font.pixelSize: Theme.calloutSize
        }
        TextEdit {
            objectName: "publicKeyText"
            Layout.fillWidth: true
            text: row.publicKey
            textFormat: TextEdit.PlainText
            readOnly: true
            selectByMouse: true
            wrapMode: TextEdit.WrapAnywhere
            color: Theme.primaryText
            selectionColor: Theme.selection
            font.pixelSize: Theme.captionSize
            font.family: "monospace"
        }
    }
}
