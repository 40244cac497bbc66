import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// One radio found by the scan; clicking it, or Space or Return while it has
// the keyboard focus, emits `activated`.
AbstractButton {
    id: row

    property string deviceId
    property string name
    property int rssi
    property string rssiText
    signal activated()

    objectName: "deviceRow"
    hoverEnabled: true
    padding: 0
    implicitHeight: layout.implicitHeight + 20
    Accessible.role: Accessible.Button
    Accessible.name: name
    Accessible.description: rssiText
    onClicked: row.activated()
    Keys.onReturnPressed: row.activated()
    Keys.onEnterPressed: row.activated()

    background: Rectangle {
        radius: 12
        color: row.hovered || row.visualFocus
               ? Qt.rgba(Theme.primaryText.r, Theme.primaryText.g, Theme.primaryText.b, 0.06)
               : "transparent"
        FocusRing {
            shown: row.visualFocus
            inset: 1
            radius: 11
        }
    }

    contentItem: Item {
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
                    textFormat: Text.PlainText
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
    }
}
