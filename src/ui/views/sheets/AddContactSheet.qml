import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Adds a contact by name and public key. Each opening starts with empty
// fields; Return adds when the button is enabled, Escape cancels.
Popup {
    id: sheet

    required property MeshController controller

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
    }

    background: Rectangle {
        radius: 12
        color: Theme.window
        border.width: 1
        border.color: Theme.separator
    }

    contentItem: ColumnLayout {
        spacing: 16

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
            objectName: "errorRow"
            Layout.fillWidth: true
            message: form.errorMessage
        }
        SheetButtons {
            Layout.fillWidth: true
            mainText: qsTrId("add.contact.button.add")
            mainEnabled: form.canSubmit
            working: form.isWorking
            onCancelled: sheet.close()
            onAccepted: form.submit()
        }
    }
}
