import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Adds a contact by name and public key. Each opening starts with empty
// fields; Return adds when the button is enabled, Escape cancels.
Popup {
    id: sheet

    required property MeshController controller

    // The contact typed is there already, and the user asked to see it.
    signal openRequested(string conversationKey)

    objectName: "addContactSheet"
    modal: true
    focus: true
    anchors.centerIn: Overlay.overlay
    width: 440
    padding: 22
    closePolicy: Popup.CloseOnEscape

    Overlay.modal: Rectangle { color: Qt.rgba(0, 0, 0, Theme.dark ? 0.45 : 0.2) }

    // Typing starts in the first field; Return reaches the sheet from there.
    onOpened: nameField.input.forceActiveFocus()

    AddContactForm {
        id: form
        objectName: "form"
        controller: sheet.controller
        onFinished: sheet.close()
        onOpenRequested: (key) => sheet.openRequested(key)
    }

    background: Rectangle {
        radius: 12
        color: Theme.window
        border.width: 1
        border.color: Theme.separator
    }

    contentItem: ColumnLayout {
        spacing: 16
        // Return where no field takes it (a button clicked last).
        Keys.onReturnPressed: form.submit()
        Keys.onEnterPressed: form.submit()

        SheetHeader {
            Layout.fillWidth: true
            symbol: "person.badge.plus"
            title: qsTrId("add.contact.title")
            subtitle: qsTrId("add.contact.subtitle")
        }
        SheetField {
            id: nameField
            objectName: "nameField"
            Layout.fillWidth: true
            label: qsTrId("add.contact.field.name")
            placeholder: qsTrId("add.contact.field.name.placeholder")
            counterText: form.nameCounterText
            counterIsError: form.nameCounterIsError
            onTextChanged: form.name = text
            onReturnPressed: form.submit()
        }
        SheetField {
            objectName: "keyField"
            Layout.fillWidth: true
            label: qsTrId("add.contact.field.public.key")
            placeholder: qsTrId("add.contact.field.public.key.placeholder")
            monospaced: true
            minimumLines: 2
            maximumLines: 4
            counterText: form.keyCounterText
            counterIsError: form.keyCounterIsError
            onTextChanged: form.publicKey = text
            onReturnPressed: form.submit()
        }
        SheetErrorRow {
            objectName: "existingRow"
            Layout.fillWidth: true
            message: form.existingText
            symbol: "person.fill"
            tint: Theme.accent
        }
        SheetErrorRow {
            objectName: "errorRow"
            Layout.fillWidth: true
            message: form.errorMessage
        }
        SheetButtons {
            Layout.fillWidth: true
            mainText: form.opensExisting ? qsTrId("add.button.open")
                                         : qsTrId("add.contact.button.add")
            mainEnabled: form.canSubmit
            working: form.isWorking
            onCancelled: sheet.close()
            onAccepted: form.submit()
        }
    }
}
