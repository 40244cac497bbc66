import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Asks before Talvenne has the system forget a radio's bond: the next
// connection pairs afresh, which may need the radio's PIN.
Dialog {
    id: dialog

    property string radioName

    signal confirmed()

    objectName: "forgetDialog"
    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
    width: 380
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
        text: qsTrId("forget.title").arg(dialog.radioName)
        textFormat: Text.PlainText
        color: Theme.primaryText
        font.pixelSize: Theme.title3Size
        font.weight: Font.DemiBold
        wrapMode: Text.Wrap
    }
    contentItem: Text {
        text: qsTrId("forget.message")
        textFormat: Text.PlainText
        color: Theme.secondaryText
        font.pixelSize: Theme.calloutSize
        wrapMode: Text.Wrap
    }
    footer: RowLayout {
        spacing: 10
        Item { Layout.fillWidth: true }
        SecondaryButton {
            objectName: "forgetCancel"
            Layout.bottomMargin: 20
            text: qsTrId("forget.cancel")
            onClicked: dialog.close()
        }
        SecondaryButton {
            objectName: "forgetConfirm"
            Layout.bottomMargin: 20
            Layout.rightMargin: 20
            text: qsTrId("forget.confirm")
            tint: Theme.red
            onClicked: {
                dialog.close()
                dialog.confirmed()
            }
        }
    }
}
