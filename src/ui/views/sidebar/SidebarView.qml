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
    // Both belong to the main view; the sidebar shows them and asks for
    // changes through the two signals.
    property string mode: "messages"
    property string nodeSelection: ""
    readonly property bool nodesMode: mode === "nodes"

    signal modePicked(string mode)
    signal nodeSelected(string key)
    // Enter on the current row, or a click on one: the main view moves on to
    // the detail (the composer of a chat). Arrow keys only select.
    signal rowActivated()

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
    // Relative times move on while the window is in use, and catch up at
    // once when the user comes back to it; an idle window repaints nothing.
    Timer {
        interval: 30000
        running: sidebar.Window.active
        triggeredOnStart: true
        repeat: true
        onTriggered: conversations.now = new Date()
    }

    // Ctrl+F: into the search field, its text selected.
    function focusSearch() {
        searchField.forceActiveFocus(Qt.ShortcutFocusReason)
        searchField.selectAll()
    }
    function focusList() {
        list.forceActiveFocus(Qt.OtherFocusReason)
    }

    function selectRow(row) {
        if (nodesMode) {
            if (row >= 0 && row < nodes.count)
                nodeSelected(nodes.keyAt(row))
        } else if (row >= 0 && row < conversations.count) {
            shell.select(conversations.keyAt(row))
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: 10
        spacing: 8

        ModePicker {
            Layout.fillWidth: true
            Layout.leftMargin: 10
            Layout.rightMargin: 10
            mode: sidebar.mode
            onPicked: (mode) => sidebar.modePicked(mode)
        }
        SearchField {
            id: searchField
            objectName: "sidebarSearch"
            Layout.fillWidth: true
            Layout.leftMargin: 10
            Layout.rightMargin: 10
            placeholderText: qsTrId(sidebar.nodesMode ? "sidebar.search.nodes" : "sidebar.search.conversations")
            Accessible.name: placeholderText
            Keys.onDownPressed: { list.forceActiveFocus(); sidebar.selectRow(0) }
            // Escape empties the search and goes back to the list.
            Keys.onEscapePressed: {
                clear()
                sidebar.focusList()
            }
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
                activeFocusOnTab: true
                Accessible.role: Accessible.List
                Accessible.name: qsTrId(sidebar.nodesMode ? "main.mode.nodes" : "main.mode.messages")
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
                // The Menu key or Shift+F10 opens the current row's context menu.
                Keys.onPressed: (event) => {
                    if (event.key === Qt.Key_Menu
                            || (event.key === Qt.Key_F10 && (event.modifiers & Qt.ShiftModifier))) {
                        if (currentItem)
                            currentItem.openMenu()
                        event.accepted = true
                    }
                }
                Keys.onReturnPressed: if (currentIndex >= 0) sidebar.rowActivated()
                Keys.onEnterPressed: if (currentIndex >= 0) sidebar.rowActivated()

                section.property: "section"
                section.criteria: ViewSection.FullString
                section.delegate: Item {
                    required property string section
                    width: ListView.view.width
                    height: 30
                    Text {
                        textFormat: Text.PlainText
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

                    Accessible.role: Accessible.ListItem
                    Accessible.name: cell.model.spokenText
                    Accessible.selectable: true
                    Accessible.selected: cell.selected
                    Accessible.onPressAction: sidebar.selectRow(cell.index)

                    function openMenu() { contextMenu.popup(cell, 24, cell.height / 2) }

                    Rectangle {
                        anchors.fill: parent
                        anchors.leftMargin: 6
                        anchors.rightMargin: 6
                        anchors.topMargin: 1
                        anchors.bottomMargin: 1
                        radius: 8
                        color: cell.selected ? Theme.selection
                                             : hover.containsMouse ? Theme.controlBackground : "transparent"
                        // The list has keyboard focus: its current row wears the ring.
                        border.width: cell.selected && list.activeFocus ? 2 : 0
                        border.color: Theme.focusRing
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
                            levelSymbol: cell.model.levelSymbol
                            levelText: cell.model.levelText
                            unreadQuiet: cell.model.unreadQuiet
                            unreadMention: cell.model.unreadMention
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
                            if (mouse.button === Qt.RightButton) {
                                contextMenu.popup()
                            } else {
                                sidebar.selectRow(cell.index)
                                sidebar.rowActivated()
                            }
                        }
                    }
                    SidebarRowMenu {
                        id: contextMenu
                        controller: sidebar.controller
                        isChannel: !sidebar.nodesMode && cell.model.kind === "channel"
                        channelIndex: isChannel ? cell.model.channelIndex : -1
                        contactKey: sidebar.nodesMode ? cell.model.key : (cell.model.contactKey || "")
                        isFavorite: cell.model.isFavorite || false
                        conversationKey: sidebar.nodesMode ? "" : cell.model.key
                    }
                }
            }

            // The list has the keyboard focus but no row is chosen yet (just
            // after connecting): the ring goes round the list; Down picks the
            // first row.
            FocusRing {
                objectName: "listFocusRing"
                inset: 3
                radius: 10
                shown: list.activeFocus && list.currentIndex < 0 && list.count > 0
            }

            HistoryLoading {
                objectName: "sidebarHistoryLoading"
                anchors.fill: parent
                rows: true
                visible: !sidebar.nodesMode && !sidebar.controller.historyLoaded
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
