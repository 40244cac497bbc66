import QtQuick
import QtQuick.Layouts
import Talvenne

// The radio's counters and signal figures, with a refresh button.
PaneSection {
    id: section

    required property DeviceViewModel device
    // Settings and refreshes need the radio.
    property bool radioConnected: true

    // Stays with its refresh button while the radio has not answered yet.
    visible: device.hasSelfInfo || device.statistics.length > 0
    title: qsTrId("device.section.statistics")
    header: IconButton {
        objectName: "refreshButton"
        enabled: section.radioConnected
        symbol: "arrow.clockwise"
        text: qsTrId("device.button.refresh")
        onClicked: section.device.refresh()
    }

    Text {
        objectName: "noStatistics"
        textFormat: Text.PlainText
        Layout.fillWidth: true
        visible: section.device.statistics.length === 0
        text: qsTrId("device.statistics.empty")
        color: Theme.secondaryText
        font.pixelSize: Theme.calloutSize
        wrapMode: Text.Wrap
    }

    Repeater {
        model: section.device.statistics
        InfoRow {
            required property var modelData
            Layout.fillWidth: true
            label: modelData.label
            value: modelData.value
        }
    }
}
