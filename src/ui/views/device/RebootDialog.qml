import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Asks before the radio is rebooted, since the connection drops with it.
Dialog {
    id: dialog

    signal confirmed()

    objectName: "rebootDialog"
    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
    width: 360
    padding: 20
    Overlay.modal: Rectangle { color: Qt.rgba(0, 0, 0, Theme.dark ? 0.45 : 0.2) }
    background: Rectangle {
        radius: 12
        color: Theme.window
        border.width: 1
        border.color: Theme.separator
    }
    header: Text {
        topPadding: 20
        leftPadding: 20
        rightPadding: 20
        text: qsTrId("device.reboot.title")
        color: Theme.primaryText
        font.pixelSize: Theme.title3Size
        font.weight: Font.DemiBold
    }
    contentItem: Text {
        text: qsTrId("device.reboot.message")
        color: Theme.secondaryText
        font.pixelSize: Theme.calloutSize
        wrapMode: Text.Wrap
    }
    footer: RowLayout {
        spacing: 10
        Item { Layout.fillWidth: true }
        SecondaryButton {
            objectName: "rebootCancel"
            Layout.bottomMargin: 20
            text: qsTrId("device.reboot.cancel")
            onClicked: dialog.close()
        }
        SecondaryButton {
            objectName: "rebootConfirm"
            Layout.bottomMargin: 20
            Layout.rightMargin: 20
            text: qsTrId("device.reboot.confirm")
            tint: Theme.red
            onClicked: {
                dialog.close()
                dialog.confirmed()
            }
        }
    }
}
