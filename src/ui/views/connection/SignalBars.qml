import QtQuick
import Talvenne

// Four bars for a received signal strength in dBm.
Row {
    id: bars

    property int rssi: -100

    readonly property int lit: Look.signalBars(rssi)
    readonly property color litColor: Theme.tint(Look.signalTint(rssi))

    spacing: 2

    Repeater {
        model: 4
        Rectangle {
            required property int index
            anchors.bottom: parent.bottom
            width: 3
            height: Look.signalBarHeight(index + 1)
            radius: 1
            color: index + 1 <= bars.lit ? bars.litColor
                                         : Qt.rgba(Theme.secondaryText.r, Theme.secondaryText.g,
                                                   Theme.secondaryText.b, 0.25)
        }
    }
    height: Look.signalBarHeight(4)
}
