import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Adds a channel in one of four ways. After creating a private channel the
// sheet stays open with the new secret to copy, and Done closes it.
Popup {
    id: sheet

    required property MeshController controller

    // The channel typed is joined already, and the user asked to see it.
    signal openRequested(string conversationKey)

    objectName: "addChannelSheet"
    modal: true
    focus: true
    anchors.centerIn: Overlay.overlay
    // Wide enough for every way's title in one row, whatever the language.
    width: Math.max(460, modes.implicitWidth + leftPadding + rightPadding)
    padding: 22
    closePolicy: Popup.CloseOnEscape

    Overlay.modal: Rectangle { color: Qt.rgba(0, 0, 0, Theme.dark ? 0.45 : 0.2) }

    // Typing starts in the first field; Return reaches the sheet from there.
    onOpened: (form.showsName ? channelNameField : hashtagField).input.forceActiveFocus()

    readonly property bool showsSecret: form.createdSecret.length > 0

    // Return: Done once the secret is shown, else the main button.
    function defaultAction() {
        if (showsSecret)
            close()
        else
            form.submit()
    }

    AddChannelForm {
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
        Keys.onReturnPressed: sheet.defaultAction()
        Keys.onEnterPressed: sheet.defaultAction()

        SheetHeader {
            Layout.fillWidth: true
            symbol: "number.circle"
            title: qsTrId("add.channel.title")
            subtitle: qsTrId("add.channel.subtitle")
        }

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 4
            Text {
                textFormat: Text.PlainText
                text: qsTrId("add.channel.type")
                color: Theme.primaryText
                font.pixelSize: Theme.calloutSize
                font.weight: Font.DemiBold
            }
            SegmentedControl {
                id: modes
                objectName: "modePicker"
                Layout.fillWidth: true
                accessibleName: qsTrId("add.channel.type")
                segments: Array.from(form.modeTitles, (title) => ({ title: title }))
                currentIndex: form.mode
                onActivated: (index) => form.mode = index
            }
        }

        SheetField {
            id: channelNameField
            objectName: "nameField"
            Layout.fillWidth: true
            visible: form.showsName
            label: qsTrId("add.channel.field.name")
            placeholder: qsTrId("add.channel.field.name.placeholder")
            counterText: form.nameCounterText
            counterIsError: form.nameCounterIsError
            onTextChanged: form.name = text
            onReturnPressed: sheet.defaultAction()
        }
        SheetField {
            objectName: "secretField"
            Layout.fillWidth: true
            visible: form.showsSecret
            label: qsTrId("add.channel.field.key")
            placeholder: qsTrId("add.channel.field.key.placeholder")
            monospaced: true
            counterText: form.secretCounterText
            counterIsError: form.secretCounterIsError
            onTextChanged: form.secret = text
            onReturnPressed: sheet.defaultAction()
        }
        SheetField {
            id: hashtagField
            objectName: "hashtagField"
            Layout.fillWidth: true
            visible: form.showsHashtag
            label: qsTrId("add.channel.field.hashtag")
            placeholder: qsTrId("add.channel.field.hashtag.placeholder")
            monospaced: true
            counterText: form.nameCounterText
            counterIsError: form.nameCounterIsError
            onTextChanged: form.hashtag = text
            onReturnPressed: sheet.defaultAction()
        }
        Text {
            textFormat: Text.PlainText
            Layout.fillWidth: true
            visible: text.length > 0
            text: form.explanation
            color: Theme.secondaryText
            font.pixelSize: Theme.captionSize
            wrapMode: Text.Wrap
        }

        // The new channel's secret, to pass on to whoever should join.
        ColumnLayout {
            objectName: "createdSecret"
            Layout.fillWidth: true
            visible: sheet.showsSecret
            spacing: 6
            Text {
                textFormat: Text.PlainText
                text: qsTrId("add.channel.share.title")
                color: Theme.primaryText
                font.pixelSize: Theme.calloutSize
                font.weight: Font.DemiBold
            }
            Rectangle {
                Layout.fillWidth: true
                implicitHeight: secretRow.implicitHeight + 16
                radius: 7
                color: Theme.controlBackground
                RowLayout {
                    id: secretRow
                    anchors.fill: parent
                    anchors.margins: 8
                    TextEdit {
                        Layout.fillWidth: true
                        text: form.createdSecret
                        textFormat: TextEdit.PlainText
                        readOnly: true
                        selectByMouse: true
                        wrapMode: TextEdit.WrapAnywhere
                        color: Theme.primaryText
                        selectionColor: Theme.selection
                        font.family: "monospace"
                        font.pixelSize: Theme.calloutSize
                    }
                    IconButton {
                        objectName: "copyButton"
                        // A click leaves the focus where Return closes the sheet.
                        focusPolicy: Qt.TabFocus
                        symbol: "doc.on.doc"
                        symbolSize: 16
                        text: qsTrId("add.channel.copy.help")
                        onClicked: form.copySecret()
                    }
                }
            }
        }

        SheetErrorRow {
            objectName: "existingRow"
            Layout.fillWidth: true
            message: form.existingText
            symbol: "number.circle"
            tint: Theme.accent
        }
        SheetErrorRow {
            objectName: "errorRow"
            Layout.fillWidth: true
            message: form.errorMessage
        }
        SheetButtons {
            Layout.fillWidth: true
            visible: !sheet.showsSecret
            mainText: form.opensExisting ? qsTrId("add.button.open") : form.buttonText
            mainEnabled: form.canSubmit
            working: form.isWorking
            onCancelled: sheet.close()
            onAccepted: form.submit()
        }
        RowLayout {
            Layout.fillWidth: true
            visible: sheet.showsSecret
            Item { Layout.fillWidth: true }
            ProminentButton {
                objectName: "doneButton"
                text: qsTrId("add.channel.button.done")
                onClicked: sheet.close()
            }
        }
    }
}
