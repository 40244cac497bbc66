import QtQuick
import QtQuick.Layouts
import Talvenne

// The bar above the window's content while the history cannot be saved. It
// takes room of its own, so it covers nothing, and goes once a save works.
Rectangle {
    id: warning

    required property MeshController controller

    objectName: "historyWarning"
    visible: warning.controller.historyError !== ""
    implicitHeight: visible ? row.implicitHeight + 12 : 0
    color: Theme.orange
    Accessible.role: Accessible.AlertMessage
    Accessible.name: message.text

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.leftMargin: 14
        anchors.rightMargin: 14
        anchors.topMargin: 6
        anchors.bottomMargin: 6
        spacing: 8

        Icon {
            symbol: "exclamationmark.triangle.fill"
            size: Theme.bodySize
            color: "white"
        }
        Text {
            id: message
            objectName: "historyWarningText"
            Layout.fillWidth: true
            text: qsTrId("history.save.failed").arg(warning.controller.historyError)
            textFormat: Text.PlainText
            color: "white"
            font.pixelSize: Theme.captionSize
            font.weight: Font.Medium
            wrapMode: Text.Wrap
        }
    }
}
