import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Who the radio is: its name (editable in place), type, key, model and firmware.
PaneSection {
    id: section

    required property DeviceViewModel device
    // Settings and refreshes need the radio.
    property bool radioConnected: true

    title: qsTrId("device.section.identity")

    Text {
        textFormat: Text.PlainText
        visible: !section.device.hasSelfInfo
        text: qsTrId("device.loading")
        color: Theme.secondaryText
        font.pixelSize: Theme.calloutSize
    }
    RowLayout {
        Layout.fillWidth: true
        visible: section.device.hasSelfInfo && !section.device.editingName
        InfoRow {
            objectName: "nameRow"
            Layout.fillWidth: true
            label: qsTrId("device.field.name")
            value: section.device.name
        }
        IconButton {
            id: editNameButton
            objectName: "editNameButton"
            enabled: section.radioConnected
            symbol: "pencil"
            text: qsTrId("device.button.edit.name")
            onClicked: {
                section.device.editName()
                nameEditor.forceActiveFocus()
            }
        }
    }
    RowLayout {
        Layout.fillWidth: true
        visible: section.device.hasSelfInfo && section.device.editingName
        TextField {
            id: nameEditor
            objectName: "nameEditor"
            Accessible.name: qsTrId("device.field.name")
            Layout.fillWidth: true
            text: section.device.nameDraft
            placeholderText: qsTrId("device.field.name.placeholder")
            placeholderTextColor: Theme.secondaryText
            color: Theme.primaryText
            font.pixelSize: Theme.calloutSize
            onTextEdited: section.device.nameDraft = text
            onAccepted: section.device.saveName()
            // Escape leaves the editor and keeps the radio's name.
            Keys.onEscapePressed: {
                section.device.cancelNameEdit()
                editNameButton.forceActiveFocus(Qt.TabFocusReason)
            }
        }
        ProminentButton {
            objectName: "saveNameButton"
            text: qsTrId("device.button.save")
            enabled: section.device.canSaveName
            working: section.device.busy
            onClicked: section.device.saveName()
        }
    }
    InfoRow {
        Layout.fillWidth: true
        visible: section.device.hasSelfInfo
        label: qsTrId("device.field.type")
        value: section.device.typeName
    }
    InfoRow {
        Layout.fillWidth: true
        visible: section.device.hasSelfInfo
        label: qsTrId("device.field.public.key")
        value: section.device.publicKeyPrefix
        monospaced: true
    }
    InfoRow {
        Layout.fillWidth: true
        visible: section.device.hasDeviceInfo
        label: qsTrId("device.field.model")
        value: section.device.model
    }
    InfoRow {
        Layout.fillWidth: true
        visible: section.device.hasDeviceInfo
        label: qsTrId("device.field.firmware")
        value: section.device.firmware
    }
}
