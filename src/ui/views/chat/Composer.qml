import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The message field with its send button and the length limit below.
// Return sends, Shift+Return starts a new line, Tab moves on. The draft is cut to the
// limit as it is typed or pasted.
Rectangle {
    id: composer

    required property ChatViewModel chat
    property alias draft: field.text

    signal leaveRequested()

    function focusField() {
        field.forceActiveFocus()
    }

    function send() {
        if (composer.chat.send(field.text))
            field.clear()
    }

    readonly property bool canSend: chat.connected && chat.canSend(field.text)
    readonly property bool atLimit: chat.atLimit(field.text)

    implicitHeight: column.implicitHeight + 24
    color: Theme.barBackground

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.leftMargin: 16
        anchors.rightMargin: 16
        anchors.topMargin: 12
        anchors.bottomMargin: 12
        spacing: 6

        RowLayout {
            Layout.fillWidth: true
            spacing: 10

            Rectangle {
                objectName: "composerField"
                Layout.fillWidth: true
                Layout.alignment: Qt.AlignBottom
                implicitHeight: scroller.implicitHeight
                radius: 18
                color: Theme.dark ? Qt.rgba(1, 1, 1, 0.06) : "white"
                border.width: field.activeFocus ? 2 : 1
                border.color: composer.atLimit ? Theme.red
                                               : field.activeFocus ? Theme.focusRing : Theme.separator

                ScrollView {
                    id: scroller
                    anchors.fill: parent
                    // One to five lines, then the field scrolls.
                    implicitHeight: Math.min(field.implicitHeight,
                                             field.topPadding + field.bottomPadding
                                             + 5 * fontMetrics.lineSpacing)
                    ScrollBar.horizontal.policy: ScrollBar.AlwaysOff

                    TextArea {
                        textFormat: TextEdit.PlainText
                        id: field
                        objectName: "composerText"
                        placeholderText: qsTrId("chat.composer.placeholder")
                        placeholderTextColor: Theme.secondaryText
                        color: Theme.primaryText
                        selectionColor: Theme.selection
                        selectedTextColor: Theme.primaryText
                        font.pixelSize: Theme.bodySize
                        wrapMode: TextEdit.Wrap
                        leftPadding: 14
                        rightPadding: 14
                        topPadding: 9
                        bottomPadding: 9
                        background: null

                        onTextChanged: {
                            const limited = composer.chat.limitDraft(text)
                            if (limited !== text) {
                                text = limited
                                cursorPosition = limited.length
                            }
                        }
                        Accessible.name: placeholderText
                        Keys.onEscapePressed: composer.leaveRequested()
                        // Tab and Shift+Tab move on, as from any other field;
                        // a message has no use for tab characters.
                        Keys.onTabPressed: event => {
                            field.nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
                            event.accepted = true
                        }
                        Keys.onBacktabPressed: event => {
                            field.nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
                            event.accepted = true
                        }
                        Keys.onPressed: event => {
                            if (event.key !== Qt.Key_Return && event.key !== Qt.Key_Enter)
                                return
                            if (event.modifiers & Qt.ShiftModifier)
                                return
                            event.accepted = true
                            composer.send()
                        }
                    }
                }
                FontMetrics {
                    id: fontMetrics
                    font: field.font
                }
            }

            AbstractButton {
                id: sendButton
                objectName: "sendButton"
                Layout.alignment: Qt.AlignBottom
                Layout.bottomMargin: (scroller.implicitHeight > 40 ? 0 : (scroller.implicitHeight - 30) / 2)
                enabled: composer.canSend
                // Return in the field sends; the button needs no stop of its own.
                focusPolicy: Qt.NoFocus
                text: qsTrId("chat.composer.send")
                Accessible.name: text
                implicitWidth: 30
                implicitHeight: 30
                contentItem: Icon {
                    symbol: "arrow.up.circle.fill"
                    size: 30
                    color: sendButton.enabled ? Theme.accent : Theme.secondaryText
                    opacity: sendButton.enabled ? 1 : 0.5
                }
                background: null
                onClicked: composer.send()
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: 6
            readonly property bool blocked: composer.chat.sendBlockedReason.length > 0
            // Why nothing can be sent just now, in place of the length rule.
            Icon {
                Layout.alignment: Qt.AlignTop
                symbol: parent.blocked ? composer.chat.sendBlockedSymbol : "shippingbox"
                size: Theme.caption2Size + 1
                color: parent.blocked ? Theme.orange : Theme.secondaryText
            }
            Text {
                objectName: "composerNote"
                Layout.fillWidth: true
                textFormat: Text.PlainText
                // Read whole: a narrow chat takes it on a second line.
                wrapMode: Text.Wrap
                text: parent.blocked ? composer.chat.sendBlockedReason
                                     : qsTrId("chat.composer.limit").arg(composer.chat.limit)
                color: Theme.secondaryText
                font.pixelSize: Theme.caption2Size
            }
            Text {
                Layout.alignment: Qt.AlignTop
                textFormat: Text.PlainText
                objectName: "composerCounter"
                text: composer.chat.counterText(field.text)
                color: Theme.tint(composer.chat.counterTint(field.text))
                font.pixelSize: Theme.caption2Size
            }
        }
    }
}
