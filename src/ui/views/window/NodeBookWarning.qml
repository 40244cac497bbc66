import QtQuick
import QtQuick.Layouts
import Talvenne

// The bar above the window's content while the radio's node book could not
// be read or written: why, and that the damaged one was kept aside.
Rectangle {
    id: warning

    required property MeshController controller

    objectName: "nodeBookWarning"
    visible: warning.controller.nodeBookError !== ""
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
            objectName: "nodeBookWarningText"
            Layout.fillWidth: true
            text: qsTrId("node.book.failed").arg(warning.controller.nodeBookError)
            textFormat: Text.PlainText
            color: "white"
            font.pixelSize: Theme.captionSize
            font.weight: Font.Medium
            wrapMode: Text.Wrap
        }
    }
}
