import QtQuick
import QtQuick.Layouts
import Talvenne

// The screen shown while no radio is connected: the pulsing product image,
// the radios nearby and the scan button. Scans by itself when Bluetooth is
// ready and nothing has been found yet.
Rectangle {
    id: view

    required property MeshController controller
    required property ShellModel shell
    // The application's Bluetooth adapter; none in the demo and the tests.
    property QtObject bluetoothAdapter: null

    objectName: "connectionView"
    color: Theme.window

    Component.onCompleted: shell.scanIfIdle()
    Connections {
        target: view.shell
        function onConnectionChanged() { view.shell.scanIfIdle() }
    }

    BluetoothStatusModel {
        id: bluetooth
        adapter: view.bluetoothAdapter
    }
    ConnectionFailureModel {
        id: failure
        controller: view.controller
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

            // Still while Bluetooth cannot be used: nothing to wait for.
            ConnectionHero {
                Layout.alignment: Qt.AlignHCenter
                pulse: !bluetooth.problem
            }

            ColumnLayout {
                Layout.alignment: Qt.AlignHCenter
                spacing: 6
                Text {
                    textFormat: Text.PlainText
                    objectName: "connectionTitle"
                    Layout.alignment: Qt.AlignHCenter
                    text: qsTrId("connection.title")
                    color: Theme.primaryText
                    font.pixelSize: 34
                    font.weight: Font.Medium
                }
                Text {
                    textFormat: Text.PlainText
                    Layout.alignment: Qt.AlignHCenter
                    Layout.maximumWidth: column.width
                    text: qsTrId("connection.subtitle")
                    color: Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                }
            }

            NearbyRadiosCard {
                Layout.fillWidth: true
                Layout.preferredHeight: implicitHeight
                controller: view.controller
                shell: view.shell
                statusOverride: bluetooth.title
            }

            BluetoothProblemNote {
                Layout.fillWidth: true
                status: bluetooth
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
                    textFormat: Text.PlainText
                    objectName: "connectionErrorText"
                    Layout.maximumWidth: column.width - 24
                    text: view.shell.connectionError
                    color: Theme.orange
                    font.pixelSize: Theme.calloutSize
                    wrapMode: Text.WordWrap
                }
            }

            // After a failed connection: the radio again, or forgotten in
            // Bluetooth when its bond or cached services no longer fit.
            RowLayout {
                objectName: "failureActions"
                visible: view.shell.connectionError.length > 0 && failure.radioName.length > 0
                Layout.alignment: Qt.AlignHCenter
                spacing: 10
                SecondaryButton {
                    objectName: "retryButton"
                    visible: failure.canRetry
                    text: qsTrId("connection.button.retry")
                    onClicked: {
                        view.shell.dismissConnectionError()
                        failure.retry()
                    }
                }
                SecondaryButton {
                    objectName: "forgetFailedButton"
                    text: qsTrId("connection.button.forget")
                    tint: Theme.red
                    onClicked: forgetDialog.open()
                }
            }

            ScanButton {
                objectName: "scanButton"
                Layout.alignment: Qt.AlignHCenter
                shell: view.shell
            }
        }
    }

    ForgetRadioDialog {
        id: forgetDialog
        radioName: failure.radioName
        onConfirmed: {
            view.shell.dismissConnectionError()
            failure.forget()
        }
    }
}
