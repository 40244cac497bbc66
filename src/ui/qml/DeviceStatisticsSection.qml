import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The radio's counters and signal figures, with a refresh button.
PaneSection {
    id: section

    required property DeviceViewModel device

    visible: device.statistics.length > 0
    title: qsTrId("device.section.statistics")
    header: ToolButton {
        objectName: "refreshButton"
        icon.source: Look.iconSource("arrow.clockwise")
        icon.color: Theme.accent
        icon.width: 14
        icon.height: 14
        onClicked: section.device.refresh()
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
