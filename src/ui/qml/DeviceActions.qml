import QtQuick
import QtQuick.Layouts
import Talvenne

// The buttons at the foot of the device pane: the two adverts with their
// brief "sent" state, reboot (after a confirmation) and disconnect.
ColumnLayout {
    id: actions

    required property DeviceViewModel device

    signal rebootRequested()

    spacing: 8

    PaneButton {
        objectName: "advertZeroButton"
        text: qsTrId(actions.device.advertZeroSent ? "device.button.advertise.zero.sent"
                                                   : "device.button.advertise.zero")
        symbol: actions.device.advertZeroSent ? "checkmark.circle.fill" : "dot.radiowaves.left.and.right"
        tint: actions.device.advertZeroSent ? Theme.green : Theme.primaryText
        onClicked: actions.device.advertise(0)
    }
    PaneButton {
        objectName: "advertFloodButton"
        text: qsTrId(actions.device.advertFloodSent ? "device.button.advertise.flood.sent"
                                                    : "device.button.advertise.flood")
        symbol: actions.device.advertFloodSent ? "checkmark.circle.fill" : "antenna.radiowaves.left.and.right"
        tint: actions.device.advertFloodSent ? Theme.green : Theme.primaryText
        onClicked: actions.device.advertise(1)
    }
    PaneButton {
        objectName: "rebootButton"
        text: qsTrId("device.button.reboot")
        symbol: "power"
        tint: Theme.red
        onClicked: actions.rebootRequested()
    }
    PaneButton {
        objectName: "disconnectButton"
        text: qsTrId("device.button.disconnect")
        symbol: "wifi.slash"
        onClicked: actions.device.disconnectRadio()
    }
}
