import QtQuick
import QtQuick.Layouts
import Talvenne

// The bar above the main view while it shows a radio's node book and
// Bluetooth cannot be used: what is wrong, as the connection screen says it,
// and its button to switch the adapter on where the system allows.
Rectangle {
    id: bar

    required property ShellModel shell
    property QtObject bluetoothAdapter: null

    objectName: "bluetoothBar"
    visible: bar.shell.showsMainView && !bar.shell.connected && bluetooth.problem
    implicitHeight: visible ? row.implicitHeight + 12 : 0
    color: Theme.barBackground
    Accessible.role: Accessible.AlertMessage
    Accessible.name: bluetooth.title + ". " + bluetooth.detail

    BluetoothStatusModel {
        id: bluetooth
        adapter: bar.bluetoothAdapter
    }

    Rectangle {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 1
        color: Theme.separator
    }

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.leftMargin: 14
        anchors.rightMargin: 14
        anchors.topMargin: 6
        anchors.bottomMargin: 6
        spacing: 8

        Icon {
            symbol: "exclamationmark.triangle.fill"
            size: Theme.bodySize
            color: Theme.orange
        }
        Text {
            objectName: "bluetoothBarTitle"
            text: bluetooth.title
            textFormat: Text.PlainText
            color: Theme.primaryText
            font.pixelSize: Theme.captionSize
            font.weight: Font.DemiBold
        }
        Text {
            objectName: "bluetoothBarDetail"
            Layout.fillWidth: true
            text: bluetooth.detail
            textFormat: Text.PlainText
            color: Theme.secondaryText
            font.pixelSize: Theme.captionSize
            wrapMode: Text.Wrap
        }
        SecondaryButton {
            objectName: "bluetoothBarPowerOn"
            visible: bluetooth.canPowerOn
            text: qsTrId("connection.bluetooth.power.on")
            onClicked: bluetooth.powerOn()
        }
    }
}
