import QtQuick
import Talvenne

// The connection screen while no radio is connected, the main view after.
Item {
    id: content

    required property MeshController controller
    required property ShellModel shell

    objectName: "contentView"

    // The main view while connected (for the window's title and menus).
    readonly property Item mainView: content.shell.connected ? mainLoader.item : null

    Loader {
        id: connectionLoader
        objectName: "connectionLoader"
        anchors.fill: parent
        active: opacity > 0
        opacity: content.shell.connected ? 0 : 1
        Behavior on opacity { NumberAnimation { duration: 250; easing.type: Easing.InOutQuad } }
        sourceComponent: ConnectionView {
            controller: content.controller
            shell: content.shell
        }
    }

    Loader {
        id: mainLoader
        objectName: "mainLoader"
        anchors.fill: parent
        active: opacity > 0
        opacity: content.shell.connected ? 1 : 0
        Behavior on opacity { NumberAnimation { duration: 250; easing.type: Easing.InOutQuad } }
        sourceComponent: MainView {
            controller: content.controller
            shell: content.shell
        }
    }
}
