import QtQuick
import QtQuick.Layouts
import Talvenne

// The screen shown while no radio is connected: the product image, the
// radios nearby and the scan button. Scans by itself when Bluetooth is ready
// and nothing has been found yet; a scan ends by itself after a while, and
// then nothing on the screen moves.
Rectangle {
    id: view

    required property MeshController controller
    required property ShellModel shell
    // The application's Bluetooth adapter; none in the demo and the tests.
    property QtObject bluetoothAdapter: null

    objectName: "connectionView"
    color: Theme.window

    // The screen's one source of motion: while a scan listens, five steps a
    // second move the scan's mark and the hero's breath together (each step
    // redraws just those two), and none while the window is hidden or in
    // the background. Once the scan is over nothing moves.
    property int motionStep: 0
    Timer {
        objectName: "connectionMotion"
        interval: 200
        repeat: true
        running: view.shell.scanning && !bluetooth.problem && view.visible && view.Window.active
        onTriggered: view.motionStep += 1
    }

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

            // Breathes while a scan listens for radios; still otherwise.
            ConnectionHero {
                objectName: "connectionHero"
                Layout.alignment: Qt.AlignHCenter
                breathing: view.shell.scanning && !bluetooth.problem
                step: view.motionStep
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
                motionStep: view.motionStep
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
