import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// One radio found by the scan, or known to the system already (marked so);
// the second line tells two radios of the same name apart. Clicking it, or
// Space or Return while it has the keyboard focus, emits `activated`.
AbstractButton {
    id: row

    property string deviceId
    property string name
    property int rssi
    property string rssiText
    property bool known: false
    // False for a known radio not heard in this scan: no signal to show.
    property bool heard: true
    // Shown while another listed radio has the same name.
    property string address
    // The radio connected now, listed while another is looked for: it
    // cannot be chosen again.
    property bool current: false
    readonly property string detailText: (current ? qsTrId("connection.device.current")
                                          : heard ? rssiText : qsTrId("connection.device.not.heard"))
                                         + (address.length > 0 ? "  ·  " + address : "")
    signal activated()

    objectName: "deviceRow"
    enabled: !current
    hoverEnabled: true
    padding: 0
    implicitHeight: layout.implicitHeight + 20
    Accessible.role: Accessible.Button
    Accessible.name: name
    Accessible.description: (known ? qsTrId("connection.device.known.spoken") + ", " : "") + detailText
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
                // The name as wide as it is, elided where the mark needs the room.
                Item {
                    id: nameLine
                    Layout.fillWidth: true
                    implicitHeight: nameText.implicitHeight
                    Text {
                        id: nameText
                        objectName: "deviceName"
                        width: Math.min(implicitWidth, nameLine.width
                                        - (knownMark.visible ? knownMark.width + 6 : 0))
                        text: row.name
                        textFormat: Text.PlainText
                        color: Theme.primaryText
                        font.pixelSize: Theme.bodySize
                        font.weight: Font.DemiBold
                        elide: Text.ElideRight
                    }
                    Rectangle {
                        id: knownMark
                        objectName: "knownMark"
                        visible: row.known
                        x: nameText.width + 6
                        anchors.verticalCenter: nameText.verticalCenter
                        width: knownText.implicitWidth + 12
                        height: knownText.implicitHeight + 4
                        radius: height / 2
                        color: Theme.selection
                        Text {
                            id: knownText
                            anchors.centerIn: parent
                            text: qsTrId("connection.device.known")
                            textFormat: Text.PlainText
                            color: Theme.accent
                            font.pixelSize: Theme.captionSize
                            font.weight: Font.DemiBold
                        }
                    }
                }
                Text {
                    objectName: "deviceRssi"
                    Layout.fillWidth: true
                    textFormat: Text.PlainText
                    text: row.detailText
                    color: Theme.secondaryText
                    font.pixelSize: Theme.captionSize
                    elide: Text.ElideRight
                }
            }
            SignalBars {
                visible: row.heard && !row.current
                rssi: row.rssi
            }
            Icon {
                visible: !row.current
                symbol: "chevron.right"
                size: 12
                color: Theme.secondaryText
            }
        }
    }
}
