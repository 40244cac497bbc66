import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The first column: the mode picker, the search field and the list of
// conversations (messages mode) or of other nodes (nodes mode).
Rectangle {
    id: sidebar

    required property MeshController controller
    required property ShellModel shell
    property string mode: "messages"
    property string nodeSelection: ""
    readonly property bool nodesMode: mode === "nodes"

    objectName: "sidebarView"
    color: Theme.sidebarBackground

    ConversationListModel {
        id: conversations
        objectName: "conversationModel"
        controller: sidebar.controller
        search: sidebar.nodesMode ? "" : searchField.text
    }
    NodeListModel {
        id: nodes
        objectName: "nodeModel"
        controller: sidebar.controller
        search: sidebar.nodesMode ? searchField.text : ""
    }
    // Relative times move on while the window is open.
    Timer {
        interval: 30000
        running: true
        repeat: true
        onTriggered: conversations.now = new Date()
    }

    function selectRow(row) {
        if (nodesMode) {
            if (row >= 0 && row < nodes.count)
                nodeSelection = nodes.keyAt(row)
        } else if (row >= 0 && row < conversations.count) {
            shell.select(conversations.keyAt(row))
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: 10
        spacing: 8

        // Segmented mode picker.
        Rectangle {
            Layout.fillWidth: true
            Layout.leftMargin: 10
            Layout.rightMargin: 10
            implicitHeight: 30
            radius: 8
            color: Theme.controlBackground

            Rectangle {
                x: 2 + (sidebar.nodesMode ? (parent.width - 4) / 2 : 0)
                y: 2
                width: (parent.width - 4) / 2
                height: parent.height - 4
                radius: 6
                color: Theme.dark ? Qt.rgba(1, 1, 1, 0.16) : "white"
                border.color: Theme.separator
                Behavior on x { NumberAnimation { duration: 150; easing.type: Easing.OutQuad } }
            }
            Row {
                anchors.fill: parent
                Repeater {
                    model: [
                        { mode: "messages", key: "main.mode.messages", symbol: "bubble.left.and.bubble.right.fill" },
                        { mode: "nodes", key: "main.mode.nodes", symbol: "point.3.connected.trianglepath.dotted" }
                    ]
                    delegate: MouseArea {
                        required property var modelData
                        objectName: "modeButton_" + modelData.mode
                        width: parent.width / 2
                        height: parent.height
                        cursorShape: Qt.PointingHandCursor
                        onClicked: sidebar.mode = modelData.mode
                        Row {
                            anchors.centerIn: parent
                            spacing: 6
                            Icon {
                                anchors.verticalCenter: parent.verticalCenter
                                symbol: modelData.symbol
                                size: 13
                                color: sidebar.mode === modelData.mode ? Theme.primaryText : Theme.secondaryText
                            }
                            Text {
                                anchors.verticalCenter: parent.verticalCenter
                                text: qsTrId(modelData.key)
                                color: sidebar.mode === modelData.mode ? Theme.primaryText : Theme.secondaryText
                                font.pixelSize: Theme.subheadlineSize
                                font.weight: sidebar.mode === modelData.mode ? Font.DemiBold : Font.Normal
                            }
                        }
                    }
                }
            }
        }

        // Search field.
        TextField {
            id: searchField
            objectName: "sidebarSearch"
            Layout.fillWidth: true
            Layout.leftMargin: 10
            Layout.rightMargin: 10
            placeholderText: qsTrId(sidebar.nodesMode ? "sidebar.search.nodes" : "sidebar.search.conversations")
            leftPadding: 30
            font.pixelSize: Theme.calloutSize
            background: Rectangle {
                implicitHeight: 30
                radius: 8
                color: Theme.controlBackground
                border.color: searchField.activeFocus ? Theme.accent : "transparent"
                border.width: 1
            }
            Icon {
                anchors.left: parent.left
                anchors.leftMargin: 9
                anchors.verticalCenter: parent.verticalCenter
                symbol: "magnifyingglass"
                size: 14
                color: Theme.secondaryText
            }
            Keys.onDownPressed: { list.forceActiveFocus(); sidebar.selectRow(0) }
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ListView {
                id: list
                objectName: sidebar.nodesMode ? "nodeList" : "conversationList"
                anchors.fill: parent
                clip: true
                focus: true
                boundsBehavior: Flickable.StopAtBounds
                model: sidebar.nodesMode ? nodes : conversations
                currentIndex: sidebar.nodesMode ? nodes.rowOfKey(sidebar.nodeSelection)
                                                : conversations.rowOfKey(sidebar.shell.selectedConversationKey)
                highlightFollowsCurrentItem: true
                highlightMoveDuration: 0
                keyNavigationEnabled: false
                ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

                Keys.onUpPressed: sidebar.selectRow(Math.max(0, currentIndex - 1))
                Keys.onDownPressed: sidebar.selectRow(Math.min(count - 1, currentIndex + 1))

                section.property: "section"
                section.criteria: ViewSection.FullString
                section.delegate: Item {
                    required property string section
                    width: ListView.view.width
                    height: 30
                    Text {
                        anchors.left: parent.left
                        anchors.leftMargin: 14
                        anchors.bottom: parent.bottom
                        anchors.bottomMargin: 6
                        text: parent.section
                        color: Theme.secondaryText
                        font.pixelSize: Theme.captionSize
                        font.weight: Font.DemiBold
                        font.capitalization: Font.AllUppercase
                        font.letterSpacing: 0.4
                    }
                }

                delegate: Item {
                    id: cell
                    required property int index
                    required property var model
                    readonly property bool selected: ListView.isCurrentItem
                    width: ListView.view.width
                    height: loader.implicitHeight + 2

                    Rectangle {
                        anchors.fill: parent
                        anchors.leftMargin: 6
                        anchors.rightMargin: 6
                        anchors.topMargin: 1
                        anchors.bottomMargin: 1
                        radius: 8
                        color: cell.selected ? Theme.selection
                                             : hover.containsMouse ? Theme.controlBackground : "transparent"
                    }
                    Loader {
                        id: loader
                        anchors.left: parent.left
                        anchors.right: parent.right
                        anchors.leftMargin: 6
                        anchors.rightMargin: 6
                        anchors.verticalCenter: parent.verticalCenter
                        sourceComponent: sidebar.nodesMode ? nodeRow : conversationRow
                    }
                    Component {
                        id: conversationRow
                        ConversationRow {
                            title: cell.model.title
                            subtitle: cell.model.subtitle
                            timeText: cell.model.timeText
                            unread: cell.model.unread
                            seed: cell.model.seed
                            initials: cell.model.initials
                            symbol: cell.model.symbol
                            isFavorite: cell.model.isFavorite
                            selected: cell.selected
                        }
                    }
                    Component {
                        id: nodeRow
                        NodeRow {
                            key: cell.model.key
                            title: cell.model.title
                            initials: cell.model.initials
                            avatarSymbol: cell.model.avatarSymbol
                            typeName: cell.model.typeName
                            routeSymbol: cell.model.routeSymbol
                            routeTint: cell.model.routeTint
                            hasLocation: cell.model.hasLocation
                            isFavorite: cell.model.isFavorite
                        }
                    }
                    MouseArea {
                        id: hover
                        anchors.fill: parent
                        hoverEnabled: true
                        acceptedButtons: Qt.LeftButton | Qt.RightButton
                        onClicked: (mouse) => {
                            list.forceActiveFocus()
                            if (mouse.button === Qt.RightButton)
                                contextMenu.popup()
                            else
                                sidebar.selectRow(cell.index)
                        }
                    }
                    Menu {
                        id: contextMenu
                        readonly property bool isChannel: !sidebar.nodesMode && cell.model.kind === "channel"
                        readonly property string contactKey: sidebar.nodesMode ? cell.model.key : (cell.model.contactKey || "")
                        MenuItem {
                            visible: !contextMenu.isChannel
                            height: visible ? implicitHeight : 0
                            text: qsTrId(cell.model.isFavorite ? "sidebar.favorite.remove" : "sidebar.favorite.add")
                            icon.source: Look.iconSource(cell.model.isFavorite ? "star.slash" : "star")
                            onTriggered: sidebar.controller.toggleFavorite(contextMenu.contactKey)
                        }
                        MenuItem {
                            visible: contextMenu.isChannel
                            height: visible ? implicitHeight : 0
                            text: qsTrId("sidebar.channel.remove")
                            icon.source: Look.iconSource("trash")
                            icon.color: Theme.red
                            palette.windowText: Theme.red
                            onTriggered: sidebar.controller.removeChannelQml(cell.model.channelIndex)
                        }
                    }
                }
            }

            EmptyDetail {
                objectName: "sidebarEmptyState"
                anchors.fill: parent
                compact: true
                visible: sidebar.nodesMode ? nodes.showEmptyState : conversations.showEmptyState
                symbol: sidebar.nodesMode ? "point.3.connected.trianglepath.dotted" : "bubble.left.and.bubble.right"
                title: qsTrId(sidebar.nodesMode ? "sidebar.empty.nodes.title" : "sidebar.empty.conversations.title")
                message: qsTrId(sidebar.nodesMode ? "sidebar.empty.nodes.message" : "sidebar.empty.conversations.message")
            }
        }
    }
}
