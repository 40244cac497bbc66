import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Talvenne

// File > Save Conversation As…: the platform's file dialog, then the
// conversation written as text; a save that fails says why, and the user
// can choose another place.
Item {
    id: root

    required property MeshController controller
    property string conversationKey

    function openFor(key) {
        conversationKey = key
        const suggested = saver.suggestedFile(key)
        fileDialog.currentFolder = saver.folderOf(suggested)
        fileDialog.selectedFile = suggested
        fileDialog.open()
    }

    ConversationSaver {
        id: saver
        controller: root.controller
    }

    FileDialog {
        id: fileDialog
        objectName: "saveConversationFileDialog"
        title: qsTrId("save.conversation.title")
        fileMode: FileDialog.SaveFile
        defaultSuffix: "txt"
        acceptLabel: qsTrId("save.conversation.save")
        nameFilters: [qsTrId("save.conversation.filter")]
        onAccepted: {
            const error = saver.save(root.conversationKey, selectedFile)
            if (error.length > 0) {
                failure.reason = error
                failure.open()
            }
        }
    }

    Dialog {
        id: failure

        property string reason

        objectName: "saveConversationFailure"
        parent: Overlay.overlay
        anchors.centerIn: parent
        modal: true
        width: 420
        padding: 20
        Overlay.modal: Rectangle { color: Qt.rgba(0, 0, 0, Theme.dark ? 0.45 : 0.2) }
        background: Rectangle {
            radius: 12
            color: Theme.window
            border.width: 1
            border.color: Theme.separator
        }
        onOpened: retry.forceActiveFocus()

        header: Text {
            topPadding: 20
            leftPadding: 20
            rightPadding: 20
            text: qsTrId("save.conversation.failed")
            textFormat: Text.PlainText
            color: Theme.primaryText
            font.pixelSize: Theme.title3Size
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
        }
        contentItem: Text {
            objectName: "saveConversationFailureText"
            text: failure.reason
            textFormat: Text.PlainText
            color: Theme.secondaryText
            font.pixelSize: Theme.calloutSize
            wrapMode: Text.Wrap
        }
        footer: RowLayout {
            spacing: 10
            Item {
                Layout.fillWidth: true
                Layout.leftMargin: 10
            }
            SecondaryButton {
                Layout.bottomMargin: 20
                text: qsTrId("save.conversation.close")
                onClicked: failure.close()
            }
            SecondaryButton {
                id: retry
                Layout.bottomMargin: 20
                Layout.rightMargin: 20
                text: qsTrId("save.conversation.elsewhere")
                onClicked: {
                    failure.close()
                    fileDialog.open()
                }
            }
        }
    }
}
