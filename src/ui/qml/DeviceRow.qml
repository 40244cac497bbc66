import QtQuick
import QtQuick.Layouts
import Talvenne

// One radio found by the scan; clicking it runs `action`.
Rectangle {
    id: row

    property string deviceId
    property string name
    property int rssi
    property string rssiText
    signal action()

    implicitHeight: layout.implicitHeight + 20
    radius: 12
    color: mouse.containsMouse ? Qt.rgba(Theme.primaryText.r, Theme.primaryText.g,
                                         Theme.primaryText.b, 0.06)
                               : "transparent"

    RowLayout {
        id: layout
        anchors.fill: parent
        anchors.leftMargin: 14
        anchors.rightMargin: 14
        anchors.topMargin: 10
        anchors.bottomMargin: 10
        spacing: 12

        Avatar {
            seed: row.deviceId
            symbol: "cpu.fill"
            size: 42
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Text {
                objectName: "deviceName"
                Layout.fillWidth: true
                text: row.name
                textFormat: Text.PlainText
                color: Theme.primaryText
                font.pixelSize: Theme.bodySize
                font.weight: Font.DemiBold
                elide: Text.ElideRight
            }
            Text {
                objectName: "deviceRssi"
                text: row.rssiText
                color: Theme.secondaryText
                font.pixelSize: Theme.captionSize
            }
        }
        SignalBars {
            rssi: row.rssi
        }
        Icon {
            symbol: "chevron.right"
            size: 12
            color: Theme.secondaryText
        }
    }

    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: row.action()
    }
}
