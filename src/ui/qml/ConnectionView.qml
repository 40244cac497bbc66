import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The screen shown while no radio is connected: the pulsing product image,
// the radios nearby and the scan button. Scans by itself when Bluetooth is
// ready and nothing has been found yet.
Rectangle {
    id: view

    required property MeshController controller
    required property ShellModel shell
    property bool pulse: false

    objectName: "connectionView"
    color: Theme.window

    DeviceListModel {
        id: devices
        controller: view.controller
    }

    Component.onCompleted: {
        pulse = true
        shell.scanIfIdle()
    }
    Connections {
        target: view.shell
        function onConnectionChanged() { view.shell.scanIfIdle() }
    }

    Flickable {
        anchors.fill: parent
        contentHeight: Math.max(height, column.implicitHeight + 80)
        boundsBehavior: Flickable.StopAtBounds
        clip: true

        ColumnLayout {
            id: column
            anchors.centerIn: parent
            width: Math.min(460, view.width - 80)
            spacing: 18

            // The hero: a soft disc with the product image breathing on it.
            Rectangle {
                Layout.alignment: Qt.AlignHCenter
                width: 140
                height: 140
                radius: 70
                color: Theme.dark ? Qt.rgba(1, 1, 1, 0.06) : Qt.rgba(1, 1, 1, 0.7)
                border.color: Theme.separator
                border.width: 1

                Rectangle {
                    anchors.fill: parent
                    anchors.topMargin: 3
                    z: -1
                    radius: 70
                    color: Qt.rgba(0, 0, 0, 0.08)
                }
                Image {
                    objectName: "splash"
                    anchors.centerIn: parent
                    width: 110
                    height: 110
                    source: "qrc:/images/splash.svg"
                    sourceSize: Qt.size(220, 220)
                    smooth: true
                    scale: 0.98
                    SequentialAnimation on scale {
                        running: view.pulse
                        loops: Animation.Infinite
                        NumberAnimation { from: 0.98; to: 1.02; duration: 2500; easing.type: Easing.InOutQuad }
                        NumberAnimation { from: 1.02; to: 0.98; duration: 2500; easing.type: Easing.InOutQuad }
                    }
                }
            }

            ColumnLayout {
                Layout.alignment: Qt.AlignHCenter
                spacing: 6
                Text {
                    objectName: "connectionTitle"
                    Layout.alignment: Qt.AlignHCenter
                    text: qsTrId("connection.title")
                    color: Theme.primaryText
                    font.pixelSize: 34
                    font.weight: Font.Medium
                }
                Text {
                    Layout.alignment: Qt.AlignHCenter
                    Layout.maximumWidth: column.width
                    text: qsTrId("connection.subtitle")
                    color: Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                }
            }

            // The device card.
            Rectangle {
                Layout.fillWidth: true
                Layout.preferredHeight: Math.min(260, cardColumn.implicitHeight + 28)
                radius: 14
                color: Theme.dark ? Qt.rgba(1, 1, 1, 0.05) : Qt.rgba(1, 1, 1, 0.75)
                border.color: Theme.separator
                border.width: 1

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
                            Layout.fillWidth: true
                            text: qsTrId("connection.nearby.devices")
                            color: Theme.primaryText
                            font.pixelSize: Theme.headlineSize
                            font.weight: Font.DemiBold
                        }
                        BusyIndicator {
                            objectName: "scanSpinner"
                            visible: view.shell.scanning
                            running: visible
                            palette.text: Theme.accent
                            Layout.preferredWidth: 22
                            Layout.preferredHeight: 22
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
                            Layout.alignment: Qt.AlignHCenter
                            text: view.shell.statusText
                            color: Theme.secondaryText
                            font.pixelSize: Theme.calloutSize
                        }
                    }

                    ListView {
                        id: deviceList
                        objectName: "deviceList"
                        visible: devices.count > 0
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        Layout.preferredHeight: contentHeight
                        clip: true
                        spacing: 2
                        model: devices
                        boundsBehavior: Flickable.StopAtBounds
                        delegate: DeviceRow {
                            required property int index
                            required property var model
                            width: ListView.view.width
                            deviceId: model.deviceId
                            name: model.name
                            rssi: model.rssi
                            rssiText: model.rssiText
                            onAction: {
                                view.shell.dismissConnectionError()
                                devices.connectTo(index)
                            }
                        }
                    }
                }
            }

            RowLayout {
                objectName: "connectionError"
                visible: view.shell.connectionError.length > 0
                Layout.alignment: Qt.AlignHCenter
                Layout.maximumWidth: column.width
                spacing: 6
                Icon {
                    symbol: "exclamationmark.triangle.fill"
                    size: 14
                    color: Theme.orange
                }
                Text {
                    objectName: "connectionErrorText"
                    Layout.maximumWidth: column.width - 24
                    text: view.shell.connectionError
                    color: Theme.orange
                    font.pixelSize: Theme.calloutSize
                    wrapMode: Text.WordWrap
                }
            }

            AbstractButton {
                id: scanButton
                objectName: "scanButton"
                Layout.alignment: Qt.AlignHCenter
                readonly property bool stops: view.shell.showStop
                readonly property color labelColor: stops ? Theme.primaryText : "white"
                text: stops ? qsTrId("connection.button.stop") : qsTrId("connection.button.scan")
                enabled: stops || view.shell.canScan
                opacity: enabled ? 1 : 0.45
                hoverEnabled: true
                padding: 9
                leftPadding: 18
                rightPadding: 18
                background: Rectangle {
                    implicitHeight: 34
                    radius: 9
                    color: scanButton.stops
                           ? (scanButton.hovered ? Theme.selection : Theme.controlBackground)
                           : (scanButton.down ? Qt.darker(Theme.accent, 1.15) : Theme.accent)
                    border.color: scanButton.stops ? Theme.separator : "transparent"
                }
                contentItem: RowLayout {
                    spacing: 7
                    Icon {
                        symbol: scanButton.stops ? "stop.fill" : "arrow.clockwise"
                        size: 14
                        color: scanButton.labelColor
                    }
                    Text {
                        text: scanButton.text
                        color: scanButton.labelColor
                        font.pixelSize: Theme.bodySize
                        font.weight: Font.Medium
                    }
                }
                onClicked: stops ? view.shell.stopScan() : view.shell.startScan()
            }
        }
    }
}
