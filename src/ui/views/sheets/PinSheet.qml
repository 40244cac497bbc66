import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Asks for what a radio wants while it pairs: its PIN (digits only, six at
// most), a yes to the passkey it shows, or a passkey to type on it. Opens by
// itself when the radio asks, closes when it has its answer or gives up;
// Escape cancels the pairing.
Popup {
    id: sheet

    // The application's pairing prompt; none in the demo and the tests.
    property QtObject prompt: null

    objectName: "pinSheet"
    modal: true
    focus: true
    anchors.centerIn: Overlay.overlay
    width: 420
    padding: 22
    closePolicy: Popup.CloseOnEscape

    Overlay.modal: Rectangle { color: Qt.rgba(0, 0, 0, Theme.dark ? 0.45 : 0.2) }

    PinForm {
        id: form
        objectName: "form"
        prompt: sheet.prompt
        onChanged: {
            if (digitsField.text !== digits)
                digitsField.text = digits
            if (open && !sheet.visible)
                sheet.open()
            else if (!open && sheet.visible)
                sheet.close()
        }
    }

    onOpened: if (form.mode === "enter") digitsField.forceActiveFocus()
    // Escape, or the sheet closed under the radio's question: no pairing.
    onClosed: if (form.open) form.cancel()

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
            symbol: "key.fill"
            title: qsTrId("pairing.title")
            subtitle: qsTrId(form.mode === "confirm" ? "pairing.confirm.subtitle"
                             : form.mode === "show" ? "pairing.show.subtitle"
                             : "pairing.enter.subtitle").arg(form.radioName)
        }
        TextField {
            id: digitsField
            objectName: "pinField"
            visible: form.mode === "enter"
            Layout.fillWidth: true
            Accessible.name: qsTrId("pairing.field.pin")
            placeholderText: qsTrId("pairing.field.pin.placeholder")
            placeholderTextColor: Theme.secondaryText
            color: Theme.primaryText
            selectionColor: Theme.selection
            selectedTextColor: Theme.primaryText
            font.pixelSize: Theme.title2Size
            font.family: "monospace"
            font.letterSpacing: 4
            horizontalAlignment: TextInput.AlignHCenter
            maximumLength: 6
            inputMethodHints: Qt.ImhDigitsOnly
            validator: RegularExpressionValidator { regularExpression: /[0-9]{0,6}/ }
            onTextChanged: form.digits = text
            onAccepted: form.submit()
            background: Rectangle {
                radius: 7
                color: Theme.controlBackground
                border.width: digitsField.activeFocus ? 2 : 1
                border.color: digitsField.activeFocus ? Theme.accent : Theme.separator
            }
        }
        Text {
            objectName: "passkey"
            visible: form.mode === "confirm" || form.mode === "show"
            Layout.alignment: Qt.AlignHCenter
            text: form.passkey
            textFormat: Text.PlainText
            color: Theme.primaryText
            font.pixelSize: Theme.title2Size * 1.4
            font.family: "monospace"
            font.letterSpacing: 6
            font.weight: Font.DemiBold
            Accessible.name: form.passkey.split("").join(" ")
        }
        SheetButtons {
            Layout.fillWidth: true
            mainText: qsTrId(form.mode === "show" ? "pairing.button.done" : "pairing.button.pair")
            mainEnabled: form.canSubmit
            onCancelled: form.cancel()
            onAccepted: form.submit()
        }
    }
}
