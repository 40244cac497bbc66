import QtQuick
import QtQuick.Layouts
import Talvenne

// One conversation in the sidebar: avatar, title, notification level, time,
// last message and unread badge (grey when none of it would have notified,
// with "@" when a message mentions the user).
Item {
    id: row

    property string title
    property string subtitle
    property string timeText
    property int unread
    property string seed
    property string initials
    property string symbol
    property bool isFavorite
    property bool selected
    property string levelSymbol
    property string levelText
    property bool unreadQuiet
    property bool unreadMention

    implicitHeight: 58

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 10
        anchors.rightMargin: 10
        spacing: 10

        Avatar {
            seed: row.seed
            initials: row.initials
            symbol: row.symbol
            size: 42
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 3
            RowLayout {
                Layout.fillWidth: true
                spacing: 4
                Icon {
                    visible: row.isFavorite
                    symbol: "star.fill"
                    size: 12
                    color: Theme.yellow
                }
                Text {
                    objectName: "rowTitle"
                    Layout.fillWidth: true
                    text: row.title
                    textFormat: Text.PlainText
                    color: Theme.primaryText
                    font.pixelSize: Theme.bodySize
                    font.weight: Font.DemiBold
                    elide: Text.ElideRight
                }
                Icon {
                    objectName: "levelIcon"
                    visible: row.levelSymbol.length > 0
                    symbol: row.levelSymbol
                    size: 13
                    color: Theme.secondaryText
                    Accessible.role: Accessible.Graphic
                    Accessible.name: row.levelText
                }
                Text {
                    textFormat: Text.PlainText
                    visible: row.timeText.length > 0
                    text: row.timeText
                    color: Theme.secondaryText
                    font.pixelSize: Theme.captionSize
                }
            }
            RowLayout {
                Layout.fillWidth: true
                spacing: 6
                Text {
                    Layout.fillWidth: true
                    text: row.subtitle
                    textFormat: Text.PlainText
                    color: Theme.secondaryText
                    font.pixelSize: Theme.captionSize + 1
                    elide: Text.ElideRight
                    maximumLineCount: 1
                }
                Text {
                    objectName: "mentionMarker"
                    visible: row.unread >= 1 && row.unreadMention
                    text: "@"
                    textFormat: Text.PlainText
                    color: Theme.accent
                    font.pixelSize: Theme.captionSize + 2
                    font.bold: true
                }
                Rectangle {
                    objectName: "unreadBadge"
                    visible: row.unread >= 1
                    implicitWidth: Math.max(height, badgeText.implicitWidth + 12)
                    implicitHeight: badgeText.implicitHeight + 4
                    radius: height / 2
                    color: row.unreadQuiet ? Theme.quietFill : Theme.accentFill
                    Text {
                        textFormat: Text.PlainText
                        id: badgeText
                        anchors.centerIn: parent
                        text: row.unread
                        color: "white"
                        font.pixelSize: Theme.captionSize
                        font.bold: true
                    }
                }
            }
        }
    }
}
