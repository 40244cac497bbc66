import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// View > Map in the detail column: every node that has shared a position,
// and the user's own radio. Choosing a marker opens the node: the chat of a
// companion or a room, the details of any other node.
Item {
    id: view

    required property MeshController controller

    signal nodeChosen(string publicKey, bool canChat)
    signal selfChosen()

    readonly property MeshMap map: frame.map

    function focusMap() { frame.map.forceActiveFocus(Qt.TabFocusReason) }

    objectName: "meshMapView"

    MeshMapModel {
        id: nodes
        objectName: "meshMapModel"
        controller: view.controller
    }

    Rectangle {
        id: header
        anchors.left: parent.left
        anchors.right: parent.right
        height: 44
        color: Theme.window

        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 16
            anchors.rightMargin: 10
            spacing: 8
            Label {
                textFormat: Text.PlainText
                text: qsTrId("map.title")
                font.pixelSize: Theme.headlineSize
                font.weight: Font.DemiBold
                color: Theme.primaryText
            }
            Label {
                textFormat: Text.PlainText
                objectName: "mapCount"
                Layout.fillWidth: true
                elide: Text.ElideRight
                text: qsTrId("map.count", nodes.nodeCount)
                font.pixelSize: Theme.subheadlineSize
                color: Theme.secondaryText
            }
            IconButton {
                objectName: "fitButton"
                symbol: "scope"
                symbolSize: 16
                tint: Theme.primaryText
                text: qsTrId("map.fit")
                onClicked: frame.map.fitMarkers()
            }
            IconButton {
                id: settingsButton
                objectName: "mapSettingsButton"
                symbol: "square.3.layers.3d"
                symbolSize: 16
                tint: view.controller.mapSettings.streetTiles ? Theme.accent : Theme.primaryText
                text: qsTrId("map.settings")
                checked: settingsPopup.opened
                onClicked: settingsPopup.opened ? settingsPopup.close() : settingsPopup.open()
                MapSettingsPopup {
                    id: settingsPopup
                    settings: view.controller.mapSettings
                    x: settingsButton.width - width
                    y: settingsButton.height + 6
                }
            }
        }
        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.separator
        }
    }

    MapFrame {
        id: frame
        anchors.top: header.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        markers: nodes
        settings: view.controller.mapSettings
        autoFit: true
        focus: true
        onNodeChosen: (publicKey, canChat) => view.nodeChosen(publicKey, canChat)
        onSelfChosen: view.selfChosen()
    }

    Rectangle {
        objectName: "mapEmptyNote"
        visible: nodes.nodeCount === 0
        anchors.horizontalCenter: frame.horizontalCenter
        anchors.bottom: frame.bottom
        anchors.bottomMargin: 48
        width: emptyLabel.implicitWidth + 24
        height: emptyLabel.implicitHeight + 14
        radius: 8
        color: Theme.window
        border.width: 1
        border.color: Theme.separator
        Label {
            textFormat: Text.PlainText
            id: emptyLabel
            anchors.centerIn: parent
            text: qsTrId("map.empty")
            color: Theme.secondaryText
        }
    }
}
