import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// File > Connect to Another Radio…: the radios nearby over the main window,
// which stays open behind it. Picking one connects to it; its node book
// then takes the place of the one shown.
Dialog {
    id: dialog

    required property MeshController controller
    required property ShellModel shell
    property QtObject bluetoothAdapter: null

    objectName: "radioPicker"
    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
    width: 480
    padding: 20
    title: qsTrId("menu.file.connect.another")
    Overlay.modal: Rectangle { color: Qt.rgba(0, 0, 0, Theme.dark ? 0.45 : 0.2) }
    background: Rectangle {
        radius: 12
        color: Theme.window
        border.width: 1
        border.color: Theme.separator
    }
    onOpened: dialog.shell.startScan()
    onClosed: {
        if (dialog.shell.scanning)
            dialog.shell.stopScan()
    }
    // A radio was chosen: the window follows its connection.
    Connections {
        target: dialog.controller
        function onTransportStateChanged() {
            if (dialog.opened && dialog.shell.transportStateName === "connecting")
                dialog.close()
        }
    }

    BluetoothStatusModel {
        id: bluetooth
        adapter: dialog.bluetoothAdapter
    }

    // Made while open only: the connection screen's parts keep their names.
    contentItem: Loader {
        active: dialog.visible
        sourceComponent: ColumnLayout {
            spacing: 12
            NearbyRadiosCard {
                Layout.fillWidth: true
                Layout.preferredHeight: implicitHeight
                controller: dialog.controller
                shell: dialog.shell
                statusOverride: bluetooth.title
            }
            BluetoothProblemNote {
                Layout.fillWidth: true
                status: bluetooth
            }
            SecondaryButton {
                objectName: "radioPickerClose"
                Layout.alignment: Qt.AlignRight
                text: qsTrId("about.close")
                onClicked: dialog.close()
            }
        }
    }
}
