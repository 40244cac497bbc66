import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// File > Forget This Radio: says what goes (the radio's node book, reconnecting
// to it) and what stays (the history, the Bluetooth pairing) before it goes.
Dialog {
    id: dialog

    required property ShellModel shell

    objectName: "forgetThisRadioDialog"
    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
    width: 400
    padding: 22
    title: qsTrId("menu.file.forget.radio")
    Overlay.modal: Rectangle { color: Qt.rgba(0, 0, 0, Theme.dark ? 0.45 : 0.2) }
    background: Rectangle {
        radius: 12
        color: Theme.window
        border.width: 1
        border.color: Theme.separator
    }
    onOpened: cancelButton.forceActiveFocus(Qt.TabFocusReason)

    contentItem: ColumnLayout {
        spacing: 12
        Text {
            textFormat: Text.PlainText
            objectName: "forgetThisRadioTitle"
            Layout.fillWidth: true
            text: qsTrId("forget.radio.title").arg(dialog.shell.pillTitle)
            color: Theme.primaryText
            font.pixelSize: Theme.title3Size
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
        }
        Text {
            textFormat: Text.PlainText
            objectName: "forgetThisRadioText"
            Layout.fillWidth: true
            text: qsTrId("forget.radio.text")
            color: Theme.primaryText
            font.pixelSize: Theme.calloutSize
            wrapMode: Text.Wrap
        }
        RowLayout {
            Layout.alignment: Qt.AlignRight
            spacing: 8
            SecondaryButton {
                id: cancelButton
                objectName: "forgetThisRadioCancel"
                text: qsTrId("forget.radio.cancel")
                onClicked: dialog.close()
            }
            ProminentButton {
                objectName: "forgetThisRadioConfirm"
                text: qsTrId("forget.radio.confirm")
                onClicked: {
                    dialog.close()
                    dialog.shell.forgetThisRadio()
                }
            }
        }
    }
}
