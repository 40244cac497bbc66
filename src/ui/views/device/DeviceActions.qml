import QtQuick
import QtQuick.Layouts
import Talvenne

// The buttons at the foot of the device pane: the two adverts with their
// brief "sent" state, reboot (after a confirmation), disconnect, and
// forgetting the radio in Bluetooth (after a confirmation).
ColumnLayout {
    id: actions

    required property DeviceViewModel device
    required property ShellModel shell

    signal rebootRequested()
    signal forgetRequested()

    spacing: 8

    AdvertSender {
        id: zeroHop
        objectName: "zeroHopAdvert"
        controller: actions.device.controller
        kind: 0
    }
    AdvertSender {
        id: flood
        objectName: "floodAdvert"
        controller: actions.device.controller
        kind: 1
    }

    RadioNeededNote {
        Layout.fillWidth: true
        shell: actions.shell
    }
    PaneButton {
        objectName: "advertZeroButton"
        enabled: actions.shell.connected
        text: qsTrId(zeroHop.sent ? "device.button.advertise.zero.sent" : "device.button.advertise.zero")
        symbol: zeroHop.sent ? "checkmark.circle.fill" : "dot.radiowaves.left.and.right"
        tint: zeroHop.sent ? Theme.green : Theme.primaryText
        onClicked: zeroHop.send()
    }
    PaneButton {
        objectName: "advertFloodButton"
        enabled: actions.shell.connected
        text: qsTrId(flood.sent ? "device.button.advertise.flood.sent" : "device.button.advertise.flood")
        symbol: flood.sent ? "checkmark.circle.fill" : "antenna.radiowaves.left.and.right"
        tint: flood.sent ? Theme.green : Theme.primaryText
        onClicked: flood.send()
    }
    PaneButton {
        objectName: "rebootButton"
        enabled: actions.shell.connected
        text: qsTrId("device.button.reboot")
        symbol: "power"
        tint: Theme.red
        onClicked: actions.rebootRequested()
    }
    PaneButton {
        objectName: "disconnectButton"
        enabled: actions.shell.connected || actions.shell.reconnecting
        text: qsTrId("device.button.disconnect")
        symbol: "wifi.slash"
        onClicked: actions.device.disconnectRadio()
    }
    PaneButton {
        objectName: "forgetButton"
        text: qsTrId("device.button.forget")
        symbol: "trash"
        tint: Theme.red
        onClicked: actions.forgetRequested()
    }
}
