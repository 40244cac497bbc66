import QtQuick
import QtQuick.Layouts
import Talvenne

// One conversation in the sidebar: avatar, title, time, last message and
// unread badge.
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
                Rectangle {
                    objectName: "unreadBadge"
                    visible: row.unread >= 1
                    implicitWidth: Math.max(height, badgeText.implicitWidth + 12)
                    implicitHeight: badgeText.implicitHeight + 4
                    radius: height / 2
                    color: Theme.accentFill
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
