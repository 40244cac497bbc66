import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The inspector pane of the connected radio: identity, radio settings and
// battery, statistics, and the advert, reboot and disconnect buttons.
ScrollView {
    id: pane

    required property MeshController controller

    objectName: "deviceView"
    contentWidth: availableWidth
    clip: true

    DeviceViewModel {
        id: device
        objectName: "deviceModel"
        controller: pane.controller
    }

    ColumnLayout {
        width: pane.availableWidth
        spacing: 18

        Text {
            Layout.topMargin: 16
            Layout.leftMargin: 16
            text: qsTrId("device.title")
            color: Theme.primaryText
            font.pixelSize: Theme.title3Size
            font.weight: Font.DemiBold
        }

        PaneSection {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            title: qsTrId("device.section.identity")

            Text {
                visible: !device.hasSelfInfo
                text: qsTrId("device.loading")
                color: Theme.secondaryText
                font.pixelSize: Theme.calloutSize
            }
            RowLayout {
                Layout.fillWidth: true
                visible: device.hasSelfInfo && !device.editingName
                InfoRow {
                    objectName: "nameRow"
                    Layout.fillWidth: true
                    label: qsTrId("device.field.name")
                    value: device.name
                }
                ToolButton {
                    objectName: "editNameButton"
                    icon.source: Look.iconSource("pencil")
                    icon.color: Theme.accent
                    icon.width: 14
                    icon.height: 14
                    onClicked: device.editName()
                }
            }
            RowLayout {
                Layout.fillWidth: true
                visible: device.hasSelfInfo && device.editingName
                TextField {
                    objectName: "nameEditor"
                    Layout.fillWidth: true
                    text: device.nameDraft
                    placeholderText: qsTrId("device.field.name.placeholder")
                    font.pixelSize: Theme.calloutSize
                    onTextEdited: device.nameDraft = text
                    onAccepted: device.saveName()
                }
                ProminentButton {
                    objectName: "saveNameButton"
                    text: qsTrId("device.button.save")
                    enabled: device.canSaveName
                    working: device.busy
                    onClicked: device.saveName()
                }
            }
            InfoRow {
                Layout.fillWidth: true
                visible: device.hasSelfInfo
                label: qsTrId("device.field.type")
                value: device.typeName
            }
            InfoRow {
                Layout.fillWidth: true
                visible: device.hasSelfInfo
                label: qsTrId("device.field.public.key")
                value: device.publicKeyPrefix
                monospaced: true
                selectable: true
            }
            InfoRow {
                Layout.fillWidth: true
                visible: device.hasDeviceInfo
                label: qsTrId("device.field.model")
                value: device.model
            }
            InfoRow {
                Layout.fillWidth: true
                visible: device.hasDeviceInfo
                label: qsTrId("device.field.firmware")
                value: device.firmware
            }
        }

        PaneSection {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            visible: device.hasBattery || device.hasSelfInfo
            title: qsTrId("device.section.radio")

            RowLayout {
                objectName: "batteryRow"
                Layout.fillWidth: true
                visible: device.hasBattery
                spacing: 6
                Text {
                    text: qsTrId("device.field.battery")
                    color: Theme.secondaryText
                    font.pixelSize: Theme.calloutSize
                }
                Item { Layout.fillWidth: true }
                Icon {
                    visible: device.batterySymbol.length > 0
                    symbol: device.batterySymbol
                    color: Theme.tint(device.batteryTint)
                }
                Text {
                    visible: device.batteryPercentText.length > 0
                    text: device.batteryPercentText
                    color: Theme.primaryText
                    font.pixelSize: Theme.calloutSize
                }
                Text {
                    text: device.voltageText
                    color: Theme.secondaryText
                    font.pixelSize: Theme.calloutSize
                }
            }
            InfoRow {
                Layout.fillWidth: true
                visible: device.hasSelfInfo
                label: qsTrId("device.field.frequency")
                value: device.frequencyText
            }
            InfoRow {
                Layout.fillWidth: true
                visible: device.hasSelfInfo
                label: qsTrId("device.field.bandwidth")
                value: device.bandwidthText
            }
            InfoRow {
                Layout.fillWidth: true
                visible: device.hasSelfInfo
                label: qsTrId("device.field.spreading.factor")
                value: device.spreadingFactorText
            }
            InfoRow {
                Layout.fillWidth: true
                visible: device.hasSelfInfo
                label: qsTrId("device.field.coding.rate")
                value: device.codingRateText
            }
            ColumnLayout {
                Layout.fillWidth: true
                visible: device.hasSelfInfo
                spacing: 0
                InfoRow {
                    Layout.fillWidth: true
                    label: qsTrId("device.field.tx.power")
                    value: device.txPowerText
                    valueColor: Theme.secondaryText
                }
                Slider {
                    objectName: "txPowerSlider"
                    Layout.fillWidth: true
                    from: 0
                    to: device.txPowerMaximum
                    stepSize: 1
                    snapMode: Slider.SnapAlways
                    value: device.txPower
                    onMoved: device.txPower = value
                    // The radio hears of it only when the user lets go.
                    onPressedChanged: if (!pressed) device.commitTxPower()
                }
            }
        }

        PaneSection {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            visible: device.statistics.length > 0
            title: qsTrId("device.section.statistics")
            header: ToolButton {
                objectName: "refreshButton"
                icon.source: Look.iconSource("arrow.clockwise")
                icon.color: Theme.accent
                icon.width: 14
                icon.height: 14
                onClicked: device.refresh()
            }

            Repeater {
                model: device.statistics
                InfoRow {
                    required property var modelData
                    Layout.fillWidth: true
                    label: modelData.label
                    value: modelData.value
                }
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            Layout.bottomMargin: 16
            spacing: 8

            PaneButton {
                objectName: "advertZeroButton"
                text: qsTrId(device.advertZeroSent ? "device.button.advertise.zero.sent"
                                                   : "device.button.advertise.zero")
                symbol: device.advertZeroSent ? "checkmark.circle.fill" : "dot.radiowaves.left.and.right"
                tint: device.advertZeroSent ? Theme.green : Theme.primaryText
                onClicked: device.advertise(0)
            }
            PaneButton {
                objectName: "advertFloodButton"
                text: qsTrId(device.advertFloodSent ? "device.button.advertise.flood.sent"
                                                    : "device.button.advertise.flood")
                symbol: device.advertFloodSent ? "checkmark.circle.fill" : "antenna.radiowaves.left.and.right"
                tint: device.advertFloodSent ? Theme.green : Theme.primaryText
                onClicked: device.advertise(1)
            }
            PaneButton {
                objectName: "rebootButton"
                text: qsTrId("device.button.reboot")
                symbol: "power"
                tint: Theme.red
                onClicked: rebootDialog.open()
            }
            PaneButton {
                objectName: "disconnectButton"
                text: qsTrId("device.button.disconnect")
                symbol: "wifi.slash"
                onClicked: device.disconnectRadio()
            }
        }
    }

    Dialog {
        id: rebootDialog
        objectName: "rebootDialog"
        parent: Overlay.overlay
        anchors.centerIn: parent
        modal: true
        width: 360
        padding: 20
        Overlay.modal: Rectangle { color: Qt.rgba(0, 0, 0, Theme.dark ? 0.45 : 0.2) }
        background: Rectangle {
            radius: 12
            color: Theme.window
            border.width: 1
            border.color: Theme.separator
        }
        header: Text {
            topPadding: 20
            leftPadding: 20
            rightPadding: 20
            text: qsTrId("device.reboot.title")
            color: Theme.primaryText
            font.pixelSize: Theme.title3Size
            font.weight: Font.DemiBold
        }
        contentItem: Text {
            text: qsTrId("device.reboot.message")
            color: Theme.secondaryText
            font.pixelSize: Theme.calloutSize
            wrapMode: Text.Wrap
        }
        footer: RowLayout {
            spacing: 10
            Item { Layout.fillWidth: true }
            SecondaryButton {
                objectName: "rebootCancel"
                Layout.bottomMargin: 20
                text: qsTrId("device.reboot.cancel")
                onClicked: rebootDialog.close()
            }
            SecondaryButton {
                objectName: "rebootConfirm"
                Layout.bottomMargin: 20
                Layout.rightMargin: 20
                text: qsTrId("device.reboot.confirm")
                tint: Theme.red
                onClicked: {
                    pane.controller.reboot()
                    rebootDialog.close()
                }
            }
        }
    }
}
