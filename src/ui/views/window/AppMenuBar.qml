import QtQuick
import QtQuick.Controls
import Talvenne

// The window's menus: File (Save Conversation As…, Connect to Another Radio,
// Disconnect while connected, Forget This Radio, Quit), View (the two sidebar
// modes, the map, Find, muting the open conversation, the inspector panes)
// and Help (About). Their shortcuts work whether or not a menu is open.
MenuBar {
    id: bar

    required property ShellModel shell
    // The main view while connected, else null: the View items need it.
    property MainView mainView: null

    signal aboutRequested()
    signal connectAnotherRequested()
    signal forgetThisRadioRequested()
    signal historySearchRequested()
    // File > Save Conversation As…, for the open chat.
    signal saveConversationRequested(string conversationKey)
    // File > Quit: the window closes, which may ask first.
    signal quitRequested()

    objectName: "menuBar"
    // The platform's menu bar palette does not follow the application's, so
    // the bar and its menus take the theme's colours (dark included).
    palette.window: Theme.barBackground
    palette.base: Theme.window
    palette.button: Theme.barBackground
    palette.windowText: Theme.primaryText
    palette.buttonText: Theme.primaryText
    palette.text: Theme.primaryText
    palette.highlight: Theme.accentFill
    palette.highlightedText: "white"
    background: Rectangle {
        implicitHeight: 26
        color: Theme.barBackground
    }

    // Screen readers read the title without its mnemonic marker ("&File").
    delegate: MenuBarItem {
        Accessible.role: Accessible.MenuItem
        Accessible.name: text.replace(/&(.)/g, "$1")
    }

    component BarItem: MenuItem {
        id: barItem
        // A hidden item takes no room in its menu.
        height: visible ? implicitHeight : 0
        // Its shortcut at the right, as desktop menus list them.
        readonly property string shortcutText: action ? Look.shortcutText(action.shortcut) : ""
        rightPadding: padding + (shortcutText.length > 0 ? keys.implicitWidth + 28 : 0)
        Text {
            id: keys
            objectName: "shortcutText"
            anchors.right: parent.right
            anchors.rightMargin: barItem.padding
            anchors.verticalCenter: parent.verticalCenter
            visible: text.length > 0
            text: barItem.shortcutText
            textFormat: Text.PlainText
            font: barItem.font
            color: barItem.highlighted ? barItem.palette.highlightedText : Theme.secondaryText
        }
    }

    Menu {
        title: qsTrId("menu.file")
        BarItem {
            objectName: "saveConversationMenuItem"
            action: Action {
                text: qsTrId("menu.file.save.conversation")
                shortcut: "Ctrl+Shift+S"
                enabled: bar.mainView !== null && bar.mainView.chat !== null
                         && bar.mainView.mode === "messages"
                onTriggered: bar.saveConversationRequested(bar.mainView.chat.conversationKey)
            }
        }
        BarItem {
            objectName: "connectAnotherMenuItem"
            visible: bar.shell.showsMainView
            action: Action {
                text: qsTrId("menu.file.connect.another")
                enabled: bar.shell.showsMainView
                onTriggered: bar.connectAnotherRequested()
            }
        }
        BarItem {
            objectName: "disconnectMenuItem"
            visible: bar.shell.connected || bar.shell.reconnecting
            action: Action {
                text: qsTrId("Disconnect")
                shortcut: "Ctrl+Shift+D"
                enabled: bar.shell.connected || bar.shell.reconnecting
                onTriggered: bar.shell.disconnectFromDevice()
            }
        }
        BarItem {
            objectName: "forgetThisRadioMenuItem"
            visible: bar.shell.canForgetRadio
            action: Action {
                text: qsTrId("menu.file.forget.radio")
                enabled: bar.shell.canForgetRadio
                onTriggered: bar.forgetThisRadioRequested()
            }
        }
        BarItem {
            objectName: "autoReconnectMenuItem"
            action: Action {
                text: qsTrId("menu.file.reconnect.automatically")
                checkable: true
                checked: bar.shell.autoReconnect
                onTriggered: bar.shell.autoReconnect = checked
            }
        }
        BarItem {
            objectName: "quitMenuItem"
            action: Action {
                text: qsTrId("menu.file.quit")
                shortcut: "Ctrl+Q"
                onTriggered: bar.quitRequested()
            }
        }
    }
    Menu {
        title: qsTrId("menu.view")
        BarItem {
            objectName: "messagesMenuItem"
            action: Action {
                text: qsTrId("main.mode.messages")
                shortcut: "Ctrl+1"
                enabled: bar.mainView !== null
                checkable: true
                checked: bar.mainView !== null && bar.mainView.mode === "messages"
                onTriggered: bar.mainView.mode = "messages"
            }
        }
        BarItem {
            objectName: "nodesMenuItem"
            action: Action {
                text: qsTrId("main.mode.nodes")
                shortcut: "Ctrl+2"
                enabled: bar.mainView !== null
                checkable: true
                checked: bar.mainView !== null && bar.mainView.mode === "nodes"
                onTriggered: bar.mainView.mode = "nodes"
            }
        }
        BarItem {
            objectName: "mapMenuItem"
            action: Action {
                text: qsTrId("menu.view.map")
                shortcut: "Ctrl+3"
                enabled: bar.mainView !== null
                checkable: true
                checked: bar.mainView !== null && bar.mainView.showsMap
                onTriggered: bar.mainView.toggleMap()
            }
        }
        MenuSeparator {}
        BarItem {
            objectName: "findMenuItem"
            action: Action {
                text: qsTrId("menu.view.find")
                shortcut: StandardKey.Find
                enabled: bar.mainView !== null
                onTriggered: bar.mainView.focusSearch()
            }
        }
        BarItem {
            objectName: "historySearchMenuItem"
            action: Action {
                text: qsTrId("menu.view.search.messages")
                shortcut: "Ctrl+Shift+F"
                onTriggered: bar.historySearchRequested()
            }
        }
        MenuSeparator {}
        // Between the level set and Nothing.
        BarItem {
            objectName: "muteMenuItem"
            action: Action {
                text: qsTrId("menu.view.mute")
                shortcut: "Ctrl+Shift+M"
                enabled: bar.mainView !== null && bar.mainView.chat !== null
                         && bar.mainView.mode === "messages" && bar.mainView.chat.levels.settable
                checkable: true
                checked: bar.mainView !== null && bar.mainView.chat !== null
                         && bar.mainView.chat.levels.muted
                onTriggered: {
                    bar.mainView.chat.levels.toggleMute()
                    checked = Qt.binding(() => bar.mainView !== null && bar.mainView.chat !== null
                                         && bar.mainView.chat.levels.muted)
                }
            }
        }
        BarItem {
            objectName: "conversationInfoMenuItem"
            action: Action {
                text: qsTrId("menu.view.conversation.info")
                shortcut: "Ctrl+I"
                enabled: bar.mainView !== null && bar.mainView.chatInfoKey.length > 0
                checkable: true
                checked: bar.mainView !== null && bar.mainView.inspector === "chatInfo"
                onTriggered: bar.mainView.toggleInspector("chatInfo")
            }
        }
        BarItem {
            objectName: "deviceMenuItem"
            action: Action {
                text: qsTrId("menu.view.device")
                shortcut: "Ctrl+Shift+I"
                enabled: bar.mainView !== null
                checkable: true
                checked: bar.mainView !== null && bar.mainView.inspector === "device"
                onTriggered: bar.mainView.toggleInspector("device")
            }
        }
    }
    Menu {
        title: qsTrId("menu.help")
        BarItem {
            objectName: "aboutMenuItem"
            action: Action {
                text: qsTrId("menu.help.about")
                onTriggered: bar.aboutRequested()
            }
        }
    }
}
