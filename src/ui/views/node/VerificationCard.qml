import QtQuick
import QtQuick.Layouts
import Talvenne

// Whether the user has confirmed this contact's key: verified, not
// verified, or a mismatch with the key verified for the same name.
Rectangle {
    id: card

    required property NodeDetailModel node

    objectName: "verificationCard"
    implicitHeight: row.implicitHeight + 24
    radius: 14
    color: "transparent"
    border.width: 1
    border.color: node.isMismatch ? Qt.rgba(Theme.red.r, Theme.red.g, Theme.red.b, 0.6)
                                  : Qt.rgba(Theme.separator.r, Theme.separator.g,
                                            Theme.separator.b, Theme.separator.a * 0.5)

    RowLayout {
        id: row
        x: 12
        y: 12
        width: card.width - 24
        spacing: 10
        Item {
            Layout.alignment: Qt.AlignTop
            Layout.preferredWidth: 24
            Layout.preferredHeight: 24
            Icon {
                anchors.centerIn: parent
                symbol: card.node.verificationSymbol
                size: Theme.title3Size + 4
                color: Theme.tint(card.node.verificationTint)
            }
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Text {
                objectName: "verificationTitle"
                textFormat: Text.PlainText
                Layout.fillWidth: true
                text: card.node.verificationTitle
                color: Theme.primaryText
                font.pixelSize: Theme.calloutSize
                font.weight: Font.DemiBold
            }
            Text {
                textFormat: Text.PlainText
                Layout.fillWidth: true
                text: card.node.verificationMessage
                color: Theme.secondaryText
                font.pixelSize: Theme.captionSize
                wrapMode: Text.Wrap
            }
            // Under the texts, so the pane's narrowest width keeps it whole.
            SecondaryButton {
                objectName: "verifyButton"
                Layout.topMargin: 6
                text: card.node.verifyButtonText
                symbol: card.node.verifyButtonSymbol
                tint: Theme.tint(card.node.verifyButtonTint)
                onClicked: card.node.toggleVerified()
            }
        }
    }
}
