import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The inspector beside a direct chat: the contact's facts, whether its key
// has been verified, and how its messages notify.
ScrollView {
    id: view

    required property MeshController controller
    property string publicKey

    objectName: "chatInfoInspector"
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
        inspector: true
    }

    NotificationLevelModel {
        id: levels
        controller: view.controller
        conversationKey: "contact:" + view.publicKey
    }

    ColumnLayout {
        width: view.availableWidth
        spacing: 14

        Item { Layout.preferredHeight: 8 }
        NodeHeader {
            Layout.fillWidth: true
            node: node
        }
        NodePositionCard {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            node: node
        }
        NodeFactsCard {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            node: node
        }
        PublicKeyRow {
            Layout.fillWidth: true
            Layout.leftMargin: 16
            Layout.rightMargin: 16
            publicKey: node.publicKey
        }
        VerificationCard {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            node: node
        }
        RadioNeededNote {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            shell: radio
        }
        NotificationLevelCard {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            levels: levels
        }
        // Side by side while both titles fit, else one above the other.
        GridLayout {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            Layout.bottomMargin: 16
            columnSpacing: 8
            rowSpacing: 8
            columns: resetPath.implicitWidth + favorite.implicitWidth + columnSpacing
                     <= view.availableWidth - 24 ? 2 : 1
            PaneButton {
                id: resetPath
                objectName: "resetPathButton"
                enabled: radio.connected
                text: qsTrId("node.detail.button.reset.path")
                symbol: "arrow.triangle.2.circlepath"
                onClicked: node.resetPath()
            }
            PaneButton {
                id: favorite
                objectName: "favoriteButton"
                text: qsTrId(node.isFavorite ? "node.detail.button.favorite.remove"
                                             : "node.detail.button.favorite.add")
                symbol: node.isFavorite ? "star.fill" : "star"
                tint: node.isFavorite ? Theme.yellow : Theme.primaryText
                labelColor: Theme.primaryText
                onClicked: node.toggleFavorite()
            }
        }
    }
}
