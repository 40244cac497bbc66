import QtQuick
import QtQuick.Layouts
import Talvenne

// Cancel and the main button of a sheet; the main one shows a spinner while
// the sheet works.
RowLayout {
    id: buttons

    property string mainText
    property bool mainEnabled: false
    property bool working: false

    signal cancelled
    signal accepted

    spacing: 10

    Item { Layout.fillWidth: true }
    SecondaryButton {
        objectName: "cancelButton"
        text: qsTrId("add.contact.button.cancel")
        onClicked: buttons.cancelled()
    }
    ProminentButton {
        objectName: "mainButton"
        text: buttons.mainText
        enabled: buttons.mainEnabled
        working: buttons.working
        onClicked: buttons.accepted()
    }
}
