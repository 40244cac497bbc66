import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The radio's battery and LoRa settings, with the transmit-power slider.
PaneSection {
    id: section

    required property DeviceViewModel device
    // Settings and refreshes need the radio.
    property bool radioConnected: true

    visible: device.hasBattery || device.hasSelfInfo
    title: qsTrId("device.section.radio")

    RowLayout {
        objectName: "batteryRow"
        Layout.fillWidth: true
        visible: section.device.hasBattery
        spacing: 6
        Text {
            textFormat: Text.PlainText
            text: qsTrId("device.field.battery")
            color: Theme.secondaryText
            font.pixelSize: Theme.calloutSize
        }
        Item { Layout.fillWidth: true }
        Icon {
            visible: section.device.batterySymbol.length > 0
            symbol: section.device.batterySymbol
            color: Theme.tint(section.device.batteryTint)
        }
        Text {
            textFormat: Text.PlainText
            visible: section.device.batteryPercentText.length > 0
            text: section.device.batteryPercentText
            color: Theme.primaryText
            font.pixelSize: Theme.calloutSize
        }
        Text {
            textFormat: Text.PlainText
            text: section.device.voltageText
            color: Theme.secondaryText
            font.pixelSize: Theme.calloutSize
        }
    }
    InfoRow {
        Layout.fillWidth: true
        visible: section.device.hasSelfInfo
        label: qsTrId("device.field.frequency")
        value: section.device.frequencyText
    }
    InfoRow {
        Layout.fillWidth: true
        visible: section.device.hasSelfInfo
        label: qsTrId("device.field.bandwidth")
        value: section.device.bandwidthText
    }
    InfoRow {
        Layout.fillWidth: true
        visible: section.device.hasSelfInfo
        label: qsTrId("device.field.spreading.factor")
        value: section.device.spreadingFactorText
    }
    InfoRow {
        Layout.fillWidth: true
        visible: section.device.hasSelfInfo
        label: qsTrId("device.field.coding.rate")
        value: section.device.codingRateText
    }
    ColumnLayout {
        Layout.fillWidth: true
        visible: section.device.hasSelfInfo
        spacing: 0
        InfoRow {
            Layout.fillWidth: true
            label: qsTrId("device.field.tx.power")
            value: section.device.txPowerText
            valueColor: Theme.secondaryText
        }
        Slider {
            objectName: "txPowerSlider"
            enabled: section.radioConnected
            Accessible.name: qsTrId("device.field.tx.power")
            Layout.fillWidth: true
            from: 0
            to: section.device.txPowerMaximum
            stepSize: 1
            snapMode: Slider.SnapAlways
            value: section.device.txPower
            onMoved: section.device.txPower = value
            // The radio hears of it only when the user lets go.
            onPressedChanged: if (!pressed) section.device.commitTxPower()
        }
    }
}
