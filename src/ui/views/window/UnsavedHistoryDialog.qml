import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Asks before quitting while the history cannot be saved: another try may
// work now (room was made on the disk, the other Talvenne has quit).
Dialog {
    id: dialog

    required property MeshController controller

    signal quitConfirmed()

    objectName: "unsavedHistoryDialog"
    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
    // Wide enough for the three buttons in every language.
    width: Math.max(420, buttons.implicitWidth)
    padding: 20
    Overlay.modal: Rectangle { color: Qt.rgba(0, 0, 0, Theme.dark ? 0.45 : 0.2) }
    background: Rectangle {
        radius: 12
        color: Theme.window
        border.width: 1
        border.color: Theme.separator
    }
    onOpened: saveAgain.forceActiveFocus()

    header: Text {
        topPadding: 20
        leftPadding: 20
        rightPadding: 20
        text: qsTrId("history.quit.title")
        textFormat: Text.PlainText
        color: Theme.primaryText
        font.pixelSize: Theme.title3Size
        font.weight: Font.DemiBold
    }
    contentItem: Text {
        objectName: "unsavedHistoryText"
        text: qsTrId("history.quit.message").arg(dialog.controller.historyError)
        textFormat: Text.PlainText
        color: Theme.secondaryText
        font.pixelSize: Theme.calloutSize
        wrapMode: Text.Wrap
    }
    footer: RowLayout {
        id: buttons
        spacing: 10
        Item {
            Layout.fillWidth: true
            Layout.leftMargin: 10
        }
        SecondaryButton {
            objectName: "unsavedHistoryCancel"
            Layout.bottomMargin: 20
            text: qsTrId("history.quit.cancel")
            onClicked: dialog.close()
        }
        SecondaryButton {
            objectName: "unsavedHistoryQuit"
            Layout.bottomMargin: 20
            text: qsTrId("history.quit.anyway")
            tint: Theme.red
            onClicked: {
                dialog.close()
                dialog.quitConfirmed()
            }
        }
        SecondaryButton {
            id: saveAgain
            objectName: "unsavedHistorySave"
            Layout.bottomMargin: 20
            Layout.rightMargin: 20
            text: qsTrId("history.quit.save")
            onClicked: {
                if (!dialog.controller.saveHistoryAgain())
                    return
                dialog.close()
                dialog.quitConfirmed()
            }
        }
    }
}
