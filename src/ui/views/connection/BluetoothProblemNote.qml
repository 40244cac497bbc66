import QtQuick
import QtQuick.Layouts
import Talvenne

// Under the radios card while Bluetooth cannot be used: what is wrong in
// plain words, and a button to switch the adapter on where the system lets
// the app do that. Nothing in it moves.
ColumnLayout {
    id: note

    required property BluetoothStatusModel status

    objectName: "bluetoothProblem"
    visible: status.problem
    spacing: 8

    RowLayout {
        // A layout fills its column unless told not to; the icon stays by its title.
        Layout.fillWidth: false
        Layout.alignment: Qt.AlignHCenter
        Layout.maximumWidth: note.width
        spacing: 6
        Icon {
            symbol: "exclamationmark.triangle.fill"
            size: 14
            color: Theme.orange
        }
        Text {
            objectName: "bluetoothProblemTitle"
            text: note.status.title
            textFormat: Text.PlainText
            color: Theme.primaryText
            font.pixelSize: Theme.bodySize
            font.weight: Font.DemiBold
        }
    }
    Text {
        objectName: "bluetoothProblemDetail"
        Layout.fillWidth: true
        text: note.status.detail
        textFormat: Text.PlainText
        color: Theme.secondaryText
        font.pixelSize: Theme.calloutSize
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
    }
    ProminentButton {
        objectName: "bluetoothPowerOn"
        Layout.alignment: Qt.AlignHCenter
        visible: note.status.canPowerOn
        text: qsTrId("connection.bluetooth.power.on")
        onClicked: note.status.powerOn()
    }
}
