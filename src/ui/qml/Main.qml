import QtQuick
import QtQuick.Controls
import Talvenne

// TalvenneApp: the one main window. The application hands in the controller.
ApplicationWindow {
    id: window

    required property MeshController controller
    // The Bluetooth adapter, for the connection screen's explanations.
    property QtObject bluetoothAdapter: null

    objectName: "talvenneWindow"
    width: 1120
    height: 720
    minimumWidth: 900
    minimumHeight: 600
    visible: true
    title: "Talvenne"
    color: Theme.window

    ShellModel {
        id: shell
        controller: window.controller
    }

    // Called by the application when a notification is clicked.
    function openConversation(key) { shell.open(key) }

    // Drops the link while connected; absent otherwise.
    Shortcut {
        sequence: "Ctrl+Shift+D"
        enabled: shell.connected
        onActivated: shell.disconnectFromDevice()
    }

    ContentView {
        anchors.fill: parent
        controller: window.controller
        shell: shell
        bluetoothAdapter: window.bluetoothAdapter
    }
}
