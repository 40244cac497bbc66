import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The main window's content while connected: toolbar, sidebar, detail and
// an optional inspector.
Item {
    id: main

    required property MeshController controller
    required property ShellModel shell

    property string mode: "messages"      // "messages" or "nodes"
    property string nodeSelection: ""     // a public key in nodes mode
    property string inspector: ""         // "", "device" or "chatInfo"
    // View > Map: the map of every node in the detail column, over the
    // chat or node it hides until a row, a mode or a marker is chosen.
    property bool showsMap: false
    property bool showAddContact: false
    property bool showAddChannel: false

    // The chat in the detail column, if one is open.
    readonly property ChatView chat: chatLoader.item as ChatView
    readonly property string chatContactKey: mode === "messages" && !showsMap
                                             ? shell.currentChatContactKey : ""
    // The conversation the info pane can show: a listed contact's or a
    // channel's; empty otherwise.
    readonly property string chatInfoKey: {
        if (chatContactKey.length > 0)
            return "contact:" + chatContactKey
        const key = shell.selectedConversationKey
        return mode === "messages" && !showsMap && key.startsWith("channel:") ? key : ""
    }
    // What the window's title names: the open chat with its subtitle, or the
    // node shown; empty when the detail column is a placeholder.
    readonly property string windowTitle: {
        if (main.showsMap)
            return qsTrId("map.title")
        if (mode === "messages" && main.chat)
            return main.chat.title + " – " + main.chat.subtitle
        if (mode === "nodes" && nodeDetailLoader.item)
            return main.nodeDetail().title
        return ""
    }

    objectName: "mainView"

    onChatInfoKeyChanged: if (inspector === "chatInfo") inspector = ""
    // Connected: the keyboard starts on the conversation list.
    Component.onCompleted: sidebar.focusList()

    // The node in the detail column, if one is shown.
    function nodeDetail() { return nodeDetailLoader.item as NodeDetailView }

    function toggleInspector(pane) { inspector = inspector === pane ? "" : pane }
    function toggleMap() {
        showsMap = !showsMap
        if (showsMap)
            focusMapLater.start()
    }
    Timer {
        id: focusMapLater
        interval: 0
        onTriggered: if (meshMapLoader.item) (meshMapLoader.item as MeshMapView).focusMap()
    }

    // A marker chosen on the map: the chat of a companion or a room, the
    // details of any other node.
    function openFromMap(publicKey, canChat) {
        if (canChat) {
            main.shell.select("contact:" + publicKey)
            main.mode = "messages"
        } else {
            main.mode = "nodes"
            main.nodeSelection = publicKey
        }
        main.showsMap = false
        enterDetailLater.start()
    }
    function focusSearch() { sidebar.focusSearch() }

    // Enter or a click on a sidebar row: the keyboard moves on to the detail.
    function enterDetail() {
        if (main.showsMap)
            return
        if (mode === "messages" && main.chat)
            main.chat.focusComposer()
        else if (mode === "nodes" && nodeDetailLoader.item)
            main.nodeDetail().focusFirstAction()
    }

    Connections {
        target: main.shell
        function onConversationOpened() {
            main.mode = "messages"
            main.showsMap = false
        }
        function onSelectedConversationKeyChanged() { main.showsMap = false }
    }
    onNodeSelectionChanged: showsMap = false

    AdvertSender {
        id: advert
        objectName: "toolbarAdvert"
        controller: main.controller
        kind: 1
    }

    // --- Sheets: a fresh one each time, so no field survives a closing.
    Loader {
        objectName: "addContactLoader"
        active: main.showAddContact
        sourceComponent: AddContactSheet {
            controller: main.controller
            Component.onCompleted: open()
            onClosed: main.showAddContact = false
            onOpenRequested: (key) => main.shell.open(key)
        }
    }
    Loader {
        objectName: "addChannelLoader"
        active: main.showAddChannel
        sourceComponent: AddChannelSheet {
            controller: main.controller
            Component.onCompleted: open()
            onClosed: main.showAddChannel = false
            onOpenRequested: (key) => main.shell.open(key)
        }
    }

    // --- Toolbar
    Rectangle {
        id: toolbar
        objectName: "toolbar"
        anchors.left: parent.left
        anchors.right: parent.right
        height: 52
        color: Theme.barBackground

        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 12
            anchors.rightMargin: 12
            spacing: 6

            ConnectionPill {
                objectName: "connectionPill"
                shell: main.shell
            }
            Item { Layout.fillWidth: true }

            ToolbarButton {
                id: addButton
                objectName: "addButton"
                symbol: "plus"
                text: qsTrId("main.toolbar.add")
                enabled: main.shell.connected
                help: enabled ? qsTrId("main.toolbar.add.help") : main.shell.radioNeededReason
                onClicked: addMenu.popup(addButton, 0, addButton.height)
                Menu {
                    id: addMenu
                    MenuItem {
                        text: qsTrId("main.toolbar.add.contact")
                        icon.source: Look.iconSource("person.badge.plus")
                        onTriggered: main.showAddContact = true
                    }
                    MenuItem {
                        text: qsTrId("main.toolbar.add.channel")
                        icon.source: Look.iconSource("number.circle")
                        onTriggered: main.showAddChannel = true
                    }
                }
            }
            ToolbarButton {
                objectName: "advertiseButton"
                symbol: advert.sent ? "checkmark.circle.fill" : "antenna.radiowaves.left.and.right"
                tint: advert.sent ? Theme.green : Theme.primaryText
                text: qsTrId(advert.sent ? "main.toolbar.advertise.sent" : "main.toolbar.advertise")
                enabled: main.shell.connected
                help: enabled ? qsTrId("main.toolbar.advertise.help") : main.shell.radioNeededReason
                showText: true
                onClicked: advert.send()
            }
            ToolbarButton {
                objectName: "mapButton"
                symbol: "map"
                text: qsTrId("main.toolbar.map")
                help: qsTrId("main.toolbar.map.help")
                checked: main.showsMap
                onClicked: main.toggleMap()
            }
            // Its place is kept while it is hidden, so the buttons beside it
            // stay where they are as chats are chosen.
            Item {
                implicitWidth: infoButton.implicitWidth
                implicitHeight: infoButton.implicitHeight
                ToolbarButton {
                    id: infoButton
                    objectName: "conversationInfoButton"
                    anchors.fill: parent
                    visible: main.chatInfoKey.length > 0
                    symbol: "info.circle"
                    text: qsTrId("main.toolbar.conversation.info")
                    help: qsTrId("main.toolbar.conversation.info.help")
                    checked: main.inspector === "chatInfo"
                    onClicked: main.toggleInspector("chatInfo")
                }
            }
            ToolbarButton {
                objectName: "deviceButton"
                symbol: "cpu"
                text: qsTrId("main.toolbar.device")
                help: qsTrId("main.toolbar.device.help")
                checked: main.inspector === "device"
                onClicked: main.toggleInspector("device")
            }
        }
        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.separator
        }
    }

    SplitView {
        id: split
        objectName: "columns"
        anchors.top: toolbar.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        orientation: Qt.Horizontal

        handle: Rectangle {
            implicitWidth: 1
            color: Theme.separator
        }

        SidebarView {
            id: sidebar
            // The sidebar and the inspector give up width, down to their
            // minimums, before the detail drops below its own; so every
            // window width from the minimum lays out without overflow.
            SplitView.minimumWidth: 270
            SplitView.preferredWidth: 310
            SplitView.maximumWidth: Math.max(270, Math.min(380, split.width - 2 - detail.SplitView.minimumWidth
                                                            - (inspectorPane.visible ? 300 : 0)))
            controller: main.controller
            shell: main.shell
            mode: main.mode
            nodeSelection: main.nodeSelection
            onModePicked: (mode) => {
                main.mode = mode
                main.showsMap = false
            }
            onNodeSelected: (key) => main.nodeSelection = key
            onRowActivated: {
                main.showsMap = false
                enterDetailLater.start()
            }
            Timer { id: enterDetailLater; interval: 0; onTriggered: main.enterDetail() }
        }

        // --- Detail column
        Item {
            id: detail
            objectName: "detail"
            SplitView.fillWidth: true
            SplitView.minimumWidth: 320

            readonly property string conversationKey: main.shell.selectedConversationKey
            readonly property bool showChat: main.mode === "messages" && conversationKey.length > 0

            Loader {
                id: chatLoader
                objectName: "chatLoader"
                anchors.fill: parent
                active: detail.showChat
                // Under the map the chat stays as it was, draft included.
                visible: !main.showsMap
                Component.onCompleted: setSource("ChatView.qml", {
                    controller: main.controller,
                    conversationKey: Qt.binding(function () { return detail.conversationKey }),
                    revealMessageId: Qt.binding(function () { return main.shell.revealedMessageId })
                })
            }
            Connections {
                target: chatLoader.item
                function onLeaveRequested() { sidebar.focusList() }
            }
            HistoryLoading {
                objectName: "conversationHistoryLoading"
                anchors.fill: parent
                visible: main.mode === "messages" && !detail.showChat && !main.showsMap
                         && !main.controller.historyLoaded
            }
            EmptyDetail {
                objectName: "conversationEmptyDetail"
                anchors.fill: parent
                visible: main.mode === "messages" && !detail.showChat && !main.showsMap
                         && main.controller.historyLoaded
                symbol: "bubble.left.and.bubble.right"
                title: qsTrId("main.empty.conversation.title")
                message: qsTrId("main.empty.conversation.message")
            }
            // The selected node while it is in the contact list. One that
            // leaves it (removed here or by the radio) is no longer selected;
            // one that is merely out of sight while the radio is away stays.
            NodeDetailModel {
                id: selectedNode
                objectName: "selectedNode"
                controller: main.controller
                publicKey: main.nodeSelection
                onExistsChanged: {
                    if (!exists && main.nodeSelection.length > 0 && main.shell.connected
                            && !main.shell.syncing)
                        main.nodeSelection = ""
                }
            }
            Loader {
                id: nodeDetailLoader
                objectName: "nodeDetailLoader"
                anchors.fill: parent
                visible: !main.showsMap
                active: main.mode === "nodes" && selectedNode.exists
                sourceComponent: NodeDetailView {
                    controller: main.controller
                    publicKey: main.nodeSelection
                    onOpenChat: {
                        main.shell.select("contact:" + publicKey)
                        main.mode = "messages"
                    }
                }
            }
            EmptyDetail {
                objectName: "nodeEmptyDetail"
                anchors.fill: parent
                visible: main.mode === "nodes" && !main.showsMap && !selectedNode.exists
                symbol: "point.3.connected.trianglepath.dotted"
                title: qsTrId("main.empty.node.title")
                message: qsTrId("main.empty.node.message")
            }
            Loader {
                id: meshMapLoader
                objectName: "meshMapLoader"
                anchors.fill: parent
                active: main.showsMap
                sourceComponent: MeshMapView {
                    controller: main.controller
                    onNodeChosen: (publicKey, canChat) => main.openFromMap(publicKey, canChat)
                    onSelfChosen: main.inspector = "device"
                }
            }
        }

        // --- Inspector
        Rectangle {
            id: inspectorPane
            objectName: "inspector"
            visible: main.inspector.length > 0
            SplitView.minimumWidth: 300
            SplitView.preferredWidth: 340
            SplitView.maximumWidth: Math.max(300, Math.min(420, split.width - 2 - sidebar.width
                                                            - detail.SplitView.minimumWidth))
            color: Theme.sidebarBackground

            Loader {
                objectName: "deviceLoader"
                anchors.fill: parent
                active: main.inspector === "device"
                sourceComponent: DeviceView { controller: main.controller }
            }
            Loader {
                objectName: "chatInfoLoader"
                anchors.fill: parent
                active: main.inspector === "chatInfo" && main.chatContactKey.length > 0
                sourceComponent: ChatInfoInspector {
                    controller: main.controller
                    publicKey: main.chatContactKey
                }
            }
            Loader {
                objectName: "channelInfoLoader"
                anchors.fill: parent
                active: main.inspector === "chatInfo" && main.chatInfoKey.startsWith("channel:")
                sourceComponent: ChannelInfoInspector {
                    controller: main.controller
                    conversationKey: main.chatInfoKey
                }
            }
        }
    }
}
