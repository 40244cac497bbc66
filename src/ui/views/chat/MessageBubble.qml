import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// One message of the chat: the bubble with its styled text (and, for an
// incoming channel message, the sender's name and badge), the footer with
// time, signal and delivery, and the report card it can unfold. A right
// click (or the menu key) opens its menu; a failed message's mark offers to
// send it again.
Item {
    id: bubbleRow

    // The message the list marks just now (a search result), if any.
    property string markedMessageId
    required property ChatViewModel chat
    required property int index
    required property string messageId
    required property bool outgoing
    required property string richText
    required property string sender
    required property color senderColor
    required property string senderBadge
    required property string timeText
    required property string snrText
    required property string snrTint
    required property string hopText
    required property string roundTripText
    required property string stateSymbol
    required property string stateTint
    required property var reportLines
    required property string spokenText
    required property string bodyText
    required property bool failed
    // The first message that was unread when the chat opened: the "N new
    // messages" divider goes above it.
    required property bool firstUnread
    property string dividerText

    // Whether the delivery report is unfolded; belongs to this bubble only.
    property bool expanded: false

    readonly property bool hasSender: sender.length > 0
    readonly property real badgeSpace: hasSender ? 24 + 8 : 0
    // At least 60 px stay free on the far side, and a bubble never takes
    // more than about 70 % of the row.
    readonly property real maxColumnWidth: Math.max(120, Math.min(width - 60 - badgeSpace,
                                                                  width * 0.7))

    readonly property real dividerSpace: firstUnread ? unreadDivider.height + 12 : 0

    implicitHeight: dividerSpace + column.implicitHeight

    Accessible.role: Accessible.ListItem
    Accessible.name: spokenText

    // An unfolded card at the bottom of the list should not open out of sight;
    // the row grows once the card is laid out.
    signal revealRequested()
    Timer { id: revealLater; interval: 0; onTriggered: bubbleRow.revealRequested() }
    onImplicitHeightChanged: {
        if (expanded)
            revealLater.start()
    }

    ListView.onReused: expanded = false
    ListView.onPooled: expanded = false

    // Opens the bubble's menu at a point of `item`, or under the bubble.
    function openMenu(item, x, y) {
        const menu = messageMenu.createObject(bubbleRow, {
            messageId: bubbleRow.messageId,
            bodyText: bubbleRow.bodyText,
            failed: bubbleRow.failed
        }) as MessageMenu
        const at = item.mapToItem(bubbleRow, x, y)
        menu.closed.connect(menu.destroy)
        menu.popup(at.x, at.y)
    }

    Component {
        id: messageMenu
        MessageMenu {
            objectName: "messageMenu"
            chat: bubbleRow.chat
        }
    }

    // Made only for the one row that has it.
    Loader {
        id: unreadDivider
        active: bubbleRow.firstUnread
        width: bubbleRow.width
        sourceComponent: UnreadDivider {
            objectName: "unreadDivider"
            text: bubbleRow.dividerText
        }
    }

    // A search result's message is marked for a moment.
    Rectangle {
        objectName: "revealMark"
        anchors.fill: parent
        anchors.margins: -5
        anchors.topMargin: bubbleRow.dividerSpace - 5
        radius: 10
        color: Theme.mention
        opacity: bubbleRow.markedMessageId === bubbleRow.messageId
                 ? 0.22 : 0
        visible: opacity > 0
        Behavior on opacity { NumberAnimation { duration: 300 } }
    }

    SenderBadge {
        visible: bubbleRow.hasSender
        x: 0
        y: 4 + bubbleRow.dividerSpace
        senderColor: bubbleRow.senderColor
        badgeText: bubbleRow.senderBadge
    }

    ColumnLayout {
        id: column
        x: bubbleRow.outgoing ? bubbleRow.width - width : bubbleRow.badgeSpace
        y: bubbleRow.dividerSpace
        width: Math.min(implicitWidth, bubbleRow.maxColumnWidth)
        spacing: 3

        Rectangle {
            id: bubble
            objectName: "bubble"
            Layout.alignment: bubbleRow.outgoing ? Qt.AlignRight : Qt.AlignLeft
            implicitWidth: content.implicitWidth + 26
            implicitHeight: content.implicitHeight + 18
            radius: 17
            color: bubbleRow.outgoing ? Theme.bubbleBase : Theme.controlBackground

            TapHandler {
                acceptedButtons: Qt.RightButton
                onTapped: eventPoint => bubbleRow.openMenu(bubble, eventPoint.position.x,
                                                           eventPoint.position.y)
            }

            Rectangle {
                anchors.fill: parent
                radius: parent.radius
                visible: bubbleRow.outgoing
                gradient: Gradient {
                    GradientStop { position: 0; color: Theme.accentFill }
                    GradientStop {
                        position: 1
                        color: Qt.rgba(Theme.accentFill.r, Theme.accentFill.g, Theme.accentFill.b, 0.82)
                    }
                }
            }

            // The text's width comes straight from the row: the name or the
            // text's own width, at most the column's. Each text is laid out
            // once for it, not again for every round of a layout's sizes.
            Column {
                id: content
                x: 13
                y: 9
                spacing: 2

                // Whole pixels, as the bubble around it.
                readonly property real textWidth: Math.ceil(Math.min(
                    Math.max(body.implicitWidth, bubbleRow.hasSender ? senderName.implicitWidth : 0),
                    bubbleRow.maxColumnWidth - 26))

                Text {
                    id: senderName
                    objectName: "senderName"
                    width: Math.min(implicitWidth, content.textWidth)
                    visible: bubbleRow.hasSender
                    text: bubbleRow.sender
                    textFormat: Text.PlainText
                    color: bubbleRow.senderColor
                    font.pixelSize: Theme.captionSize
                    font.weight: Font.DemiBold
                }

                // Read-only rich text: the user can select and copy with
                // Ctrl+C, and links still open with a click.
                TextEdit {
                    id: body
                    objectName: "messageText"
                    width: content.textWidth
                    text: bubbleRow.richText
                    textFormat: TextEdit.RichText
                    wrapMode: TextEdit.Wrap
                    readOnly: true
                    selectByMouse: true
                    persistentSelection: false
                    activeFocusOnPress: true
                    color: bubbleRow.outgoing ? "white" : Theme.primaryText
                    selectionColor: bubbleRow.outgoing ? Qt.rgba(1, 1, 1, 0.35) : Theme.accentFill
                    selectedTextColor: "white"
                    font.pixelSize: Theme.bodySize
                    Accessible.name: bubbleRow.spokenText
                    onLinkActivated: link => Qt.openUrlExternally(link)
                    onActiveFocusChanged: if (!activeFocus) deselect()
                    Keys.onMenuPressed: bubbleRow.openMenu(body, 0, body.height)
                    Keys.onPressed: event => {
                        if (event.key === Qt.Key_F10 && (event.modifiers & Qt.ShiftModifier)) {
                            bubbleRow.openMenu(body, 0, body.height)
                            event.accepted = true
                        }
                    }

                    // The text takes presses before the bubble does.
                    TapHandler {
                        acceptedButtons: Qt.RightButton
                        onTapped: eventPoint => bubbleRow.openMenu(body, eventPoint.position.x,
                                                                   eventPoint.position.y)
                    }

                    HoverHandler {
                        cursorShape: body.hoveredLink.length > 0 ? Qt.PointingHandCursor
                                                                 : Qt.IBeamCursor
                    }
                }
            }
        }

        Row {
            id: footer
            Layout.alignment: bubbleRow.outgoing ? Qt.AlignRight : Qt.AlignLeft
            leftPadding: 4
            rightPadding: 4
            spacing: 5

            Text {
                textFormat: Text.PlainText
                anchors.verticalCenter: parent.verticalCenter
                text: bubbleRow.timeText
                color: Theme.secondaryText
                font.pixelSize: Theme.caption2Size
            }
            Text {
                textFormat: Text.PlainText
                anchors.verticalCenter: parent.verticalCenter
                visible: bubbleRow.snrText.length > 0
                text: bubbleRow.snrText
                color: Theme.tint(bubbleRow.snrTint)
                font.pixelSize: Theme.caption2Size
            }
            Row {
                anchors.verticalCenter: parent.verticalCenter
                visible: bubbleRow.hopText.length > 0
                spacing: 2
                Icon {
                    anchors.verticalCenter: parent.verticalCenter
                    symbol: "arrow.triangle.swap"
                    size: Theme.caption2Size + 1
                    color: Theme.secondaryText
                }
                Text {
                    textFormat: Text.PlainText
                    text: bubbleRow.hopText
                    color: Theme.secondaryText
                    font.pixelSize: Theme.caption2Size
                }
            }
            Text {
                textFormat: Text.PlainText
                anchors.verticalCenter: parent.verticalCenter
                visible: bubbleRow.roundTripText.length > 0
                text: bubbleRow.roundTripText
                color: Theme.secondaryText
                font.pixelSize: Theme.caption2Size
            }
            Icon {
                objectName: "deliveryState"
                anchors.verticalCenter: parent.verticalCenter
                visible: bubbleRow.outgoing && !bubbleRow.failed
                symbol: bubbleRow.stateSymbol
                size: Theme.caption2Size + 2
                color: Theme.tint(bubbleRow.stateTint)
            }
            // The failure mark is a button: it offers to send the message again.
            AbstractButton {
                id: failureMark
                objectName: "failureMark"
                anchors.verticalCenter: parent.verticalCenter
                visible: bubbleRow.failed
                implicitWidth: 18
                implicitHeight: 18
                hoverEnabled: true
                text: qsTrId("chat.message.failed.options")
                Accessible.name: text
                contentItem: Icon {
                    symbol: bubbleRow.stateSymbol
                    size: Theme.caption2Size + 4
                    color: Theme.tint(bubbleRow.stateTint)
                }
                background: null
                FocusRing {
                    shown: failureMark.visualFocus
                    radius: 9
                }
                ToolTip.visible: hovered
                ToolTip.delay: 600
                ToolTip.text: text
                onClicked: bubbleRow.openMenu(failureMark, 0, failureMark.height)
            }
            AbstractButton {
                id: reportToggle
                objectName: "reportToggle"
                anchors.verticalCenter: parent.verticalCenter
                visible: bubbleRow.outgoing
                implicitWidth: 16
                implicitHeight: 16
                hoverEnabled: true
                focusPolicy: Qt.NoFocus
                text: qsTrId("chat.message.delivery.show.report")
                Accessible.name: text
                Accessible.checkable: true
                Accessible.checked: bubbleRow.expanded
                contentItem: Icon {
                    symbol: bubbleRow.ListView.view
                            ? bubbleRow.ListView.view.model.reportToggleSymbol(bubbleRow.expanded)
                            : ""
                    size: Theme.caption2Size + 3
                    color: reportToggle.hovered ? Theme.primaryText : Theme.secondaryText
                }
                background: null
                ToolTip.visible: hovered
                ToolTip.delay: 600
                ToolTip.text: qsTrId("chat.message.delivery.show.report")
                onClicked: bubbleRow.expanded = !bubbleRow.expanded
            }
        }

        // Unfolds and folds by growing and shrinking its height, so the rows
        // below move smoothly instead of jumping.
        // The card is made when it unfolds and let go once it has folded.
        Loader {
            id: card
            Layout.alignment: bubbleRow.outgoing ? Qt.AlignRight : Qt.AlignLeft
            Layout.preferredWidth: implicitWidth
            Layout.preferredHeight: bubbleRow.expanded ? implicitHeight : 0
            Behavior on Layout.preferredHeight {
                NumberAnimation { duration: 220; easing.type: Easing.OutCubic }
            }
            clip: true
            active: bubbleRow.expanded || Layout.preferredHeight > 0
            visible: Layout.preferredHeight > 0
            opacity: bubbleRow.expanded ? 1 : 0
            Behavior on opacity { NumberAnimation { duration: 180 } }
            sourceComponent: DeliveryReportCard {
                objectName: "reportCard"
                lines: bubbleRow.reportLines
            }
        }
    }
}
