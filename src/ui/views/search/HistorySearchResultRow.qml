import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// One match of the history search: the conversation, the sender and the
// time, then the matching text with the match marked.
AbstractButton {
    id: row

    required property int index
    required property string conversationKey
    required property string conversationTitle
    required property string messageId
    required property string sender
    required property string before
    required property string match
    required property string after
    required property string timeText
    required property string spokenText
    property bool current: false

    implicitHeight: column.implicitHeight + 14
    hoverEnabled: true
    focusPolicy: Qt.NoFocus
    Accessible.role: Accessible.ListItem
    Accessible.name: spokenText

    background: Rectangle {
        radius: 8
        color: row.current ? Theme.selection : row.hovered ? Theme.controlBackground : "transparent"
    }

    contentItem: ColumnLayout {
        id: column
        spacing: 2

        RowLayout {
            Layout.fillWidth: true
            Layout.leftMargin: 10
            Layout.rightMargin: 10
            Layout.topMargin: 7
            spacing: 6
            Text {
                objectName: "resultTitle"
                Layout.fillWidth: true
                text: row.sender.length > 0 && row.sender !== row.conversationTitle
                      ? row.conversationTitle + " · " + row.sender : row.conversationTitle
                textFormat: Text.PlainText
                elide: Text.ElideRight
                color: Theme.primaryText
                font.pixelSize: Theme.subheadlineSize
                font.weight: Font.DemiBold
            }
            Text {
                text: row.timeText
                textFormat: Text.PlainText
                color: Theme.secondaryText
                font.pixelSize: Theme.caption2Size
            }
        }

        // Before, match and after as plain text; the match on a marker.
        Item {
            id: line
            Layout.fillWidth: true
            Layout.leftMargin: 10
            Layout.rightMargin: 10
            implicitHeight: matchText.implicitHeight + 2
            readonly property real room: width

            Text {
                id: beforeText
                width: Math.min(implicitWidth, line.room * 0.35)
                text: row.before
                textFormat: Text.PlainText
                elide: Text.ElideLeft
                // Cut short, it still ends right at the match.
                horizontalAlignment: Text.AlignRight
                color: Theme.secondaryText
                font.pixelSize: Theme.calloutSize
                anchors.verticalCenter: parent.verticalCenter
            }
            Rectangle {
                id: marker
                x: matchText.x - 1
                width: matchText.width + 2
                height: matchText.implicitHeight + 2
                radius: 3
                color: Theme.mention
                opacity: 0.3
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                id: matchText
                objectName: "resultMatch"
                x: beforeText.width
                width: Math.min(implicitWidth, line.room - beforeText.width)
                text: row.match
                textFormat: Text.PlainText
                elide: Text.ElideRight
                color: Theme.primaryText
                font.pixelSize: Theme.calloutSize
                font.weight: Font.DemiBold
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                x: matchText.x + matchText.width
                width: Math.max(0, line.room - x)
                text: row.after
                textFormat: Text.PlainText
                elide: Text.ElideRight
                color: Theme.secondaryText
                font.pixelSize: Theme.calloutSize
                anchors.verticalCenter: parent.verticalCenter
            }
        }
    }
}
