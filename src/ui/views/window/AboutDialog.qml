import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Help > About: the application's name, version and what it is for.
Dialog {
    id: dialog

    objectName: "aboutDialog"
    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
    width: 340
    padding: 24
    title: qsTrId("menu.help.about")
    Overlay.modal: Rectangle { color: Qt.rgba(0, 0, 0, Theme.dark ? 0.45 : 0.2) }
    background: Rectangle {
        radius: 12
        color: Theme.window
        border.width: 1
        border.color: Theme.separator
    }
    onOpened: closeButton.forceActiveFocus(Qt.TabFocusReason)

    contentItem: ColumnLayout {
        spacing: 10
        Image {
            Layout.alignment: Qt.AlignHCenter
            source: "qrc:/images/talvenne.svg"
            sourceSize.width: 72
            sourceSize.height: 72
            Accessible.ignored: true
        }
        Text {
            textFormat: Text.PlainText
            Layout.alignment: Qt.AlignHCenter
            text: "Talvenne"
            color: Theme.primaryText
            font.pixelSize: Theme.title2Size
            font.weight: Font.DemiBold
        }
        Text {
            textFormat: Text.PlainText
            objectName: "aboutVersion"
            Layout.alignment: Qt.AlignHCenter
            text: qsTrId("about.version").arg(Qt.application.version)
            color: Theme.secondaryText
            font.pixelSize: Theme.calloutSize
        }
        Text {
            textFormat: Text.PlainText
            Layout.fillWidth: true
            text: qsTrId("about.description")
            color: Theme.primaryText
            font.pixelSize: Theme.calloutSize
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
        SecondaryButton {
            id: closeButton
            objectName: "aboutClose"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 6
            text: qsTrId("about.close")
            onClicked: dialog.close()
        }
    }
}
