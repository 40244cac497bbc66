import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The top of a chat: avatar, title and subtitle, the notification level's
// menu button, and for a known contact the key-verification menu button.
Rectangle {
    id: header

    required property ChatViewModel chat
    required property NotificationLevelModel levels

    implicitHeight: row.implicitHeight + 24
    color: Theme.barBackground

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.leftMargin: 18
        anchors.rightMargin: 18
        anchors.topMargin: 12
        anchors.bottomMargin: 12
        spacing: 12

        Avatar {
            size: 36
            seed: header.chat.avatarSeed
            initials: header.chat.avatarInitials
            symbol: header.chat.avatarSymbol
        }

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 1
            Text {
                objectName: "chatTitle"
                Layout.fillWidth: true
                text: header.chat.title
                textFormat: Text.PlainText
                color: Theme.primaryText
                font.pixelSize: Theme.headlineSize
                font.weight: Font.DemiBold
                elide: Text.ElideRight
            }
            Text {
                objectName: "chatSubtitle"
                Layout.fillWidth: true
                text: header.chat.subtitle
                textFormat: Text.PlainText
                color: Theme.secondaryText
                font.pixelSize: Theme.captionSize
                elide: Text.ElideRight
            }
        }

        AbstractButton {
            id: levelButton
            objectName: "levelButton"
            hoverEnabled: true
            padding: 6
            Accessible.role: Accessible.ButtonMenu
            Accessible.name: qsTrId("notifications.button")
            Accessible.description: header.levels.text
            contentItem: Icon {
                symbol: header.levels.symbol
                size: Theme.bodySize + 2
                color: header.levels.muted ? Theme.secondaryText : Theme.primaryText
            }
            background: Rectangle {
                radius: 6
                color: levelButton.hovered || levelMenu.visible ? Theme.controlBackground
                                                                : "transparent"
                FocusRing {
                    shown: levelButton.visualFocus
                    inset: -2
                    radius: 8
                }
            }
            ToolTip.visible: hovered && !levelMenu.visible
            ToolTip.delay: 600
            ToolTip.text: qsTrId("notifications.button") + ": " + header.levels.text
            onClicked: levelMenu.popup(levelButton, 0, levelButton.height + 2)

            Menu {
                id: levelMenu
                objectName: "levelMenu"
                LevelMenuItem { levels: header.levels; level: "all" }
                LevelMenuItem { levels: header.levels; level: "mentions" }
                LevelMenuItem { levels: header.levels; level: "nothing" }
            }
        }

        AbstractButton {
            id: verifyButton
            objectName: "verificationButton"
            visible: header.chat.hasContact
            hoverEnabled: true
            padding: 6
            Accessible.role: Accessible.ButtonMenu
            Accessible.name: qsTrId("chat.verify.name")
            Accessible.description: header.chat.verificationHelp + " (" + header.chat.keyPrefix + ")"
            contentItem: Row {
                spacing: 5
                Icon {
                    anchors.verticalCenter: parent.verticalCenter
                    symbol: header.chat.verificationSymbol
                    size: Theme.bodySize
                    color: Theme.tint(header.chat.verificationTint)
                }
                Text {
                    textFormat: Text.PlainText
                    anchors.verticalCenter: parent.verticalCenter
                    text: header.chat.keyPrefix
                    color: Theme.secondaryText
                    font.pixelSize: Theme.captionSize
                    font.family: "monospace"
                }
            }
            background: Rectangle {
                radius: 6
                color: verifyButton.hovered || menu.visible ? Theme.controlBackground : "transparent"
                FocusRing {
                    shown: verifyButton.visualFocus
                    inset: -2
                    radius: 8
                }
            }
            ToolTip.visible: hovered && !menu.visible
            ToolTip.delay: 600
            ToolTip.text: header.chat.verificationHelp
            onClicked: menu.popup(verifyButton, 0, verifyButton.height + 2)

            Menu {
                id: menu
                MenuItem {
                    objectName: "verificationAction"
                    text: header.chat.verificationActionText
                    icon.source: Look.iconSource(header.chat.verificationActionSymbol)
                    icon.color: header.chat.verificationActionClears ? Theme.red : Theme.primaryText
                    palette.windowText: header.chat.verificationActionClears ? Theme.red
                                                                              : Theme.primaryText
                    onTriggered: header.chat.triggerVerificationAction()
                }
            }
        }
    }
}
