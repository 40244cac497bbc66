import QtQuick
import QtQuick.Layouts
import Talvenne

// The card of radios found nearby, with the scan's activity mark, or the
// scan's status while the list is empty. A click on a row connects to that radio.
Rectangle {
    id: card

    required property MeshController controller
    required property ShellModel shell
    // Shown instead of the scan's status text when not empty.
    property string statusOverride: ""
    // Moves the scan's mark on.
    property int motionStep: 0

    implicitHeight: Math.min(260, cardColumn.implicitHeight + 28)
    radius: 14
    color: Theme.dark ? Qt.rgba(1, 1, 1, 0.05) : Qt.rgba(1, 1, 1, 0.75)
    border.color: Theme.separator
    border.width: 1

    DeviceListModel {
        id: devices
        controller: card.controller
    }

    ColumnLayout {
        id: cardColumn
        anchors.fill: parent
        anchors.margins: 14
        spacing: 8

        RowLayout {
            Layout.fillWidth: true
            spacing: 8
            Icon {
                symbol: "antenna.radiowaves.left.and.right"
                size: 16
                color: Theme.accent
            }
            Text {
                textFormat: Text.PlainText
                Layout.fillWidth: true
                text: qsTrId("connection.nearby.devices")
                color: Theme.primaryText
                font.pixelSize: Theme.headlineSize
                font.weight: Font.DemiBold
            }
            ScanSpinner {
                objectName: "scanSpinner"
                visible: card.shell.scanning
                step: card.motionStep
                Accessible.role: Accessible.Animation
                Accessible.name: card.shell.statusText
            }
        }

        ColumnLayout {
            objectName: "emptyDevices"
            visible: devices.count === 0
            Layout.fillWidth: true
            Layout.topMargin: 10
            Layout.bottomMargin: 10
            spacing: 8
            Icon {
                Layout.alignment: Qt.AlignHCenter
                symbol: "magnifyingglass"
                size: 28
                color: Theme.secondaryText
            }
            Text {
                objectName: "connectionStatus"
                textFormat: Text.PlainText
                Layout.alignment: Qt.AlignHCenter
                text: card.statusOverride.length > 0 ? card.statusOverride : card.shell.statusText
                color: Theme.secondaryText
                font.pixelSize: Theme.calloutSize
            }
        }

        ListView {
            objectName: "deviceList"
            visible: devices.count > 0
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.preferredHeight: contentHeight
            clip: true
            spacing: 2
            model: devices
            // Tab walks the rows themselves, not the list.
            activeFocusOnTab: false
            Accessible.role: Accessible.List
            Accessible.name: qsTrId("connection.nearby.devices")
            boundsBehavior: Flickable.StopAtBounds
            delegate: DeviceRow {
                required property int index
                required property var model
                width: ListView.view.width
                deviceId: model.deviceId
                name: model.name
                rssi: model.rssi
                rssiText: model.rssiText
                known: model.known
                heard: model.heard
                address: model.address
                current: model.current
                onActivated: {
                    card.shell.dismissConnectionError()
                    devices.connectTo(index)
                }
            }
        }
    }
}
