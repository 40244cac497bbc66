import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The inspector beside a channel's chat: its name and how its messages
// notify.
ScrollView {
    id: view

    required property MeshController controller
    // "channel:<index>".
    property string conversationKey

    objectName: "channelInfoInspector"
    contentWidth: availableWidth
    clip: true

    ChatViewModel {
        id: channel
        controller: view.controller
        conversationKey: view.conversationKey
    }
    NotificationLevelModel {
        id: levels
        controller: view.controller
        conversationKey: view.conversationKey
    }

    ColumnLayout {
        width: view.availableWidth
        spacing: 14

        Item { Layout.preferredHeight: 8 }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 4
            Avatar {
                Layout.alignment: Qt.AlignHCenter
                size: 80
                seed: channel.avatarSeed
                initials: channel.avatarInitials
                symbol: channel.avatarSymbol
            }
            Text {
                objectName: "channelName"
                Layout.fillWidth: true
                Layout.leftMargin: 12
                Layout.rightMargin: 12
                horizontalAlignment: Text.AlignHCenter
                text: channel.title
                textFormat: Text.PlainText
                elide: Text.ElideRight
                color: Theme.primaryText
                font.pixelSize: Theme.title2Size
                font.bold: true
            }
            Text {
                Layout.alignment: Qt.AlignHCenter
                text: channel.subtitle
                textFormat: Text.PlainText
                color: Theme.secondaryText
                font.pixelSize: Theme.subheadlineSize
            }
        }
        NotificationLevelCard {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            Layout.bottomMargin: 16
            levels: levels
        }
    }
}
