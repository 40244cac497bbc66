import QtQuick
import Talvenne

// The connection screen while no radio is connected, the main view after
// (and while a dropped radio is being reconnected, or its node book stands in
// for it); above both the warnings while the history or the book cannot be
// kept, and over the main view the Bluetooth bar while it cannot be used.
Item {
    id: content

    required property MeshController controller
    required property ShellModel shell
    property QtObject bluetoothAdapter: null

    objectName: "contentView"

    HistoryWarning {
        id: historyWarning
        anchors { top: parent.top; left: parent.left; right: parent.right }
        controller: content.controller
    }

    NodeBookWarning {
        id: nodeBookWarning
        anchors { top: historyWarning.bottom; left: parent.left; right: parent.right }
        controller: content.controller
    }

    BluetoothBar {
        id: bluetoothBar
        anchors { top: nodeBookWarning.bottom; left: parent.left; right: parent.right }
        shell: content.shell
        bluetoothAdapter: content.bluetoothAdapter
    }

    // The main view while connected (for the window's title and menus).
    readonly property MainView mainView: content.shell.showsMainView ? mainLoader.item as MainView : null

    Loader {
        id: connectionLoader
        objectName: "connectionLoader"
        anchors { top: nodeBookWarning.bottom; left: parent.left; right: parent.right; bottom: parent.bottom }
        active: opacity > 0
        opacity: content.shell.showsMainView ? 0 : 1
        Behavior on opacity { NumberAnimation { duration: 250; easing.type: Easing.InOutQuad } }
        sourceComponent: ConnectionView {
            controller: content.controller
            shell: content.shell
            bluetoothAdapter: content.bluetoothAdapter
        }
    }

    Loader {
        id: mainLoader
        objectName: "mainLoader"
        anchors { top: bluetoothBar.bottom; left: parent.left; right: parent.right; bottom: parent.bottom }
        active: opacity > 0
        opacity: content.shell.showsMainView ? 1 : 0
        Behavior on opacity { NumberAnimation { duration: 250; easing.type: Easing.InOutQuad } }
        sourceComponent: MainView {
            controller: content.controller
            shell: content.shell
        }
    }
}
