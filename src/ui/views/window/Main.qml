import QtQuick
import QtQuick.Controls
import Talvenne

// TalvenneApp: the one main window. The application hands in the controller.
ApplicationWindow {
    id: window

    required property MeshController controller
    // The Bluetooth adapter, for the connection screen's explanations.
    property QtObject bluetoothAdapter: null
    // What a radio asks while it pairs, for the PIN sheet.
    property QtObject pairingPrompt: null
    readonly property MainView mainView: content.mainView

    objectName: "talvenneWindow"
    width: 1120
    height: 720
    minimumWidth: 900
    minimumHeight: 600
    visible: true
    // The open chat or node first, as desktops list windows by their title.
    title: mainView && mainView.windowTitle.length > 0 ? mainView.windowTitle + " — Talvenne"
                                                       : "Talvenne"
    color: Theme.window
    // The controls' own colours (fields, tooltips, plain buttons) follow the
    // application's palette, dark included, as the theme's do.
    palette.window: Theme.palette.window
    palette.windowText: Theme.palette.windowText
    palette.base: Theme.palette.base
    palette.alternateBase: Theme.palette.alternateBase
    palette.text: Theme.palette.text
    palette.button: Theme.palette.button
    palette.buttonText: Theme.palette.buttonText
    palette.toolTipBase: Theme.barBackground
    palette.toolTipText: Theme.primaryText
    palette.placeholderText: Theme.palette.placeholderText
    palette.highlight: Theme.palette.highlight
    palette.highlightedText: Theme.palette.highlightedText
    palette.light: Theme.palette.light
    palette.midlight: Theme.palette.midlight
    palette.mid: Theme.palette.mid
    palette.dark: Theme.palette.dark
    palette.shadow: Theme.palette.shadow

    ShellModel {
        id: shell
        controller: window.controller
    }

    // Called by the application when a notification is clicked.
    function openConversation(key) { shell.open(key) }

    // Quitting while the history cannot be saved asks first.
    property bool quitConfirmed: false
    onClosing: close => {
        if (window.quitConfirmed || window.controller.historyError === "")
            return
        close.accepted = false
        unsavedHistory.open()
    }

    menuBar: AppMenuBar {
        shell: shell
        mainView: window.mainView
        onAboutRequested: aboutDialog.open()
        onConnectAnotherRequested: radioPicker.open()
        onForgetThisRadioRequested: forgetThisRadio.open()
        onHistorySearchRequested: historySearch.open()
        onSaveConversationRequested: (key) => saveConversation.openFor(key)
        onQuitRequested: window.close()
    }

    UnsavedHistoryDialog {
        id: unsavedHistory
        controller: window.controller
        onQuitConfirmed: {
            window.quitConfirmed = true
            window.close()
        }
    }

    HistorySearchView {
        id: historySearch
        controller: window.controller
        onResultChosen: (key, messageId) => shell.openMessage(key, messageId)
    }

    SaveConversationDialog {
        id: saveConversation
        controller: window.controller
    }

    AboutDialog {
        id: aboutDialog
    }

    RadioPickerDialog {
        id: radioPicker
        controller: window.controller
        shell: shell
        bluetoothAdapter: window.bluetoothAdapter
    }

    ForgetThisRadioDialog {
        id: forgetThisRadio
        shell: shell
    }

    PinSheet {
        prompt: window.pairingPrompt
    }

    ContentView {
        id: content
        anchors.fill: parent
        controller: window.controller
        shell: shell
        bluetoothAdapter: window.bluetoothAdapter
    }
}
