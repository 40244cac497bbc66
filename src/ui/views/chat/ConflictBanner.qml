import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The red warning under the header when another verified key carries this
// contact's name.
Rectangle {
    id: banner

    required property ChatViewModel chat

    implicitHeight: row.implicitHeight + 16
    color: Theme.redFill

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.leftMargin: 18
        anchors.rightMargin: 18
        anchors.topMargin: 8
        anchors.bottomMargin: 8
        spacing: 8

        Icon {
            symbol: "exclamationmark.triangle.fill"
            size: Theme.bodySize
            color: "white"
        }
        Text {
            objectName: "conflictText"
            Layout.fillWidth: true
            text: banner.chat.conflictText
            textFormat: Text.PlainText
            color: "white"
            font.pixelSize: Theme.captionSize
            font.weight: Font.Medium
            wrapMode: Text.Wrap
        }
        Button {
            id: verifyAnyway
            objectName: "verifyAnywayButton"
            text: qsTrId("chat.conflict.verify.anyway")
            font.pixelSize: Theme.captionSize
            padding: 4
            leftPadding: 10
            rightPadding: 10
            contentItem: Text {
                text: verifyAnyway.text
                font: verifyAnyway.font
                color: "white"
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
            }
            background: Rectangle {
                radius: 5
                color: verifyAnyway.down ? Qt.rgba(1, 1, 1, 0.3)
                                         : verifyAnyway.hovered ? Qt.rgba(1, 1, 1, 0.22)
                                                                : Qt.rgba(1, 1, 1, 0.15)
                border.width: 1
                border.color: Qt.rgba(1, 1, 1, 0.6)
                FocusRing {
                    shown: verifyAnyway.visualFocus
                    radius: 8
                    border.color: "white"
                }
            }
            onClicked: banner.chat.setVerified()
        }
    }
}
