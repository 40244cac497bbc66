import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The detail column in nodes mode: everything about one node, and what can
// be done with it.
ScrollView {
    id: view

    required property MeshController controller
    property string publicKey

    // Asks the main view to open the direct chat with this node.
    signal openChat

    // For the window's title: the name, or the start of the key.
    readonly property string title: node.title

    // Enter on the node's row: the keyboard continues at its first button.
    function focusFirstAction() {
        (node.canMessage ? messageButton : resetPathButton).forceActiveFocus(Qt.TabFocusReason)
    }

    objectName: "nodeDetailView"
    contentWidth: availableWidth
    clip: true

    ShellModel {
        id: radio
        controller: view.controller
    }

    NodeDetailModel {
        id: node
        objectName: "nodeModel"
        controller: view.controller
        publicKey: view.publicKey
    }

    ColumnLayout {
        width: Math.min(view.availableWidth, 560)
        x: (view.availableWidth - width) / 2
        spacing: 16

        Item { Layout.preferredHeight: 8 }
        NodeHeader {
            Layout.fillWidth: true
            node: node
        }
        NodePositionCard {
            Layout.fillWidth: true
            Layout.leftMargin: 20
            Layout.rightMargin: 20
            node: node
        }
        NodeFactsCard {
            Layout.fillWidth: true
            Layout.leftMargin: 20
            Layout.rightMargin: 20
            node: node
        }
        PublicKeyRow {
            Layout.fillWidth: true
            Layout.leftMargin: 36
            Layout.rightMargin: 36
            publicKey: node.publicKey
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.leftMargin: 20
            Layout.rightMargin: 20
            spacing: 8
            enabled: !node.busy

            RadioNeededNote {
                Layout.fillWidth: true
                shell: radio
            }
            ProminentButton {
                id: messageButton
                objectName: "messageButton"
                symbol: "bubble.left.fill"
                Layout.fillWidth: true
                visible: node.canMessage
                text: qsTrId("node.detail.button.message")
                onClicked: view.openChat()
            }
            PaneButton {
                id: resetPathButton
                objectName: "resetPathButton"
                enabled: radio.connected
                text: qsTrId("node.detail.button.reset.path")
                symbol: "arrow.triangle.2.circlepath"
                onClicked: node.resetPath()
            }
            PaneButton {
                objectName: "shareButton"
                enabled: radio.connected
                text: qsTrId("node.detail.button.share")
                symbol: "square.and.arrow.up"
                onClicked: node.share()
            }
            PaneButton {
                objectName: "favoriteButton"
                text: qsTrId(node.isFavorite ? "node.detail.button.favorite.remove"
                                             : "node.detail.button.favorite.add")
                symbol: node.isFavorite ? "star.fill" : "star"
                tint: node.isFavorite ? Theme.yellow : Theme.primaryText
                labelColor: Theme.primaryText
                onClicked: node.toggleFavorite()
            }
            PaneButton {
                objectName: "removeButton"
                enabled: radio.connected
                text: qsTrId("node.detail.button.remove")
                symbol: "trash"
                tint: Theme.red
                onClicked: node.remove()
            }
        }
        SheetErrorRow {
            objectName: "actionError"
            Layout.fillWidth: true
            Layout.leftMargin: 20
            Layout.rightMargin: 20
            message: node.actionError
        }
        Item { Layout.preferredHeight: 12 }
    }
}
