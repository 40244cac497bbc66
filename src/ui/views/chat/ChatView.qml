import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The detail pane of one conversation: header, conflict banner, the message
// list and the composer. The list opens at the first message that was
// unread, under a "N new messages" divider, when those do not all fit, and
// at its end otherwise; it follows new messages while the user is at the
// end. Scrolled up, a button (and Ctrl+End) jumps to the end, counting what
// arrived meanwhile.
Rectangle {
    id: view

    required property MeshController controller
    // "contact:<key>" or "channel:<index>".
    property string conversationKey

    // For the window's title bar.
    readonly property string title: chatModel.title
    readonly property string subtitle: chatModel.subtitle
    property alias draft: composer.draft
    // The list follows its newest message: on opening, and while the user
    // stays at the bottom. Scrolling up lets go; scrolling back down holds on.
    property bool pinned: true

    // Messages that arrived while the user was scrolled away from the end.
    property int newSinceAway: 0
    // The conversation's notification level, for the header and the menus.
    readonly property NotificationLevelModel levels: levelModel

    // A message to scroll to and mark for a moment (a search result).
    property string revealMessageId
    // The message marked just now; empty when none is.
    readonly property string markedMessageId: list.markedMessageId

    // Escape in the composer: the main view puts the focus back on the list.
    signal leaveRequested()

    onRevealMessageIdChanged: revealLater.start()

    // After the conversation has opened at its end: the message is centred
    // and marked, and the list lets go of its end.
    function reveal() {
        const row = messages.rowOfMessage(revealMessageId)
        if (revealMessageId.length === 0 || row < 0)
            return
        pinned = false
        scrollAnimation.stop()
        list.forceLayout()
        list.positionViewAtIndex(row, ListView.Center)
        list.markedMessageId = revealMessageId
        unmark.restart()
    }

    // Work for once the current event is done, run once however often it is
    // asked for: the list lays its rows out in between.
    Timer { id: settleLater; interval: 0; onTriggered: view.settleAtEnd() }
    Timer { id: revealLater; interval: 0; onTriggered: view.reveal() }
    Timer { id: scrollLater; interval: 0; onTriggered: view.scrollToEnd() }

    Timer {
        id: unmark
        interval: 1600
        onTriggered: list.markedMessageId = ""
    }

    color: Theme.window

    ChatViewModel {
        id: chatModel
        controller: view.controller
        conversationKey: view.conversationKey
        // Fires once the model follows the new key, so the right
        // conversation is marked read.
        onConversationKeyChanged: view.arrive()
    }

    NotificationLevelModel {
        id: levelModel
        controller: view.controller
        conversationKey: view.conversationKey
    }

    // Its key is set as the chat arrives, before the conversation is read:
    // it notes which messages were unread.
    MessageListModel {
        id: messages
        controller: view.controller
        incomingMentionColor: Theme.mention
        incomingLinkColor: Theme.blue
        incomingBubbleColor: Theme.incomingBubble
    }

    // A new conversation is shown: it is read, and opens at its end. The
    // composer takes the focus only when asked (Enter or a click on the row),
    // so arrow keys can walk the sidebar.
    function arrive() {
        messages.conversationKey = view.conversationKey
        chatModel.markRead()
        pinned = true
        newSinceAway = 0
        placeAtFirstUnread = messages.firstUnreadId.length > 0
        settleLater.start()
        if (revealMessageId.length > 0)
            revealLater.start()
    }

    function focusComposer() {
        composer.focusField()
    }

    // The list's end, bottom margin included. Bubbles wrap to heights the
    // list only learns as it lays them out, so the end is found again once
    // the last ones exist.
    function jumpToEnd() {
        scrollAnimation.stop()
        if (list.count === 0)
            return
        list.positionViewAtEnd()
        list.forceLayout()
        list.contentY = Math.max(list.originY - list.topMargin,
                                 list.originY + list.contentHeight + list.bottomMargin - list.height)
    }

    // The end once the list is laid out, unless a revealed message let go of
    // it; on opening, the first unread message when they do not all fit.
    property bool placeAtFirstUnread: false
    function settleAtEnd() {
        if (placeAtFirstUnread) {
            placeAtFirstUnread = false
            if (showFirstUnread())
                return
        }
        if (pinned)
            jumpToEnd()
    }

    // Placed at the first unread message, the list keeps the divider at its
    // top while the rows above it settle, until the user moves it.
    property bool holdingFirstUnread: false
    Timer {
        id: placeLater
        interval: 0
        onTriggered: if (view.holdingFirstUnread) view.showFirstUnread()
    }

    // The divider at the top of the view; false (the end will do) when the
    // unread messages all fit below it.
    function showFirstUnread() {
        holdingFirstUnread = false
        const row = messages.rowOfMessage(messages.firstUnreadId)
        if (row < 0 || revealMessageId.length > 0)
            return false
        scrollAnimation.stop()
        list.forceLayout()
        list.positionViewAtIndex(row, ListView.Beginning)
        list.forceLayout()
        const item = list.itemAtIndex(row)
        if (!item)
            return false
        const end = Math.max(list.originY - list.topMargin,
                             list.originY + list.contentHeight + list.bottomMargin - list.height)
        const top = item.y - list.topMargin
        // Short of fitting by less than the divider's own room: the end
        // shows them all with the divider still in view.
        if (top + 40 >= end)
            return false
        list.contentY = top
        pinned = false
        holdingFirstUnread = true
        return true
    }

    // The jump button and Ctrl+End: the end, following new messages again.
    function jumpToLatest() {
        holdingFirstUnread = false
        pinned = true
        newSinceAway = 0
        scrollToEnd()
    }

    function holdEnd() {
        if (pinned && !scrollAnimation.running)
            settleLater.start()
        else if (holdingFirstUnread)
            placeLater.start()
    }

    function scrollToEnd() {
        if (list.count === 0)
            return
        list.forceLayout()
        const end = Math.max(list.originY - list.topMargin,
                             list.originY + list.contentHeight + list.bottomMargin - list.height)
        scrollAnimation.stop()
        scrollAnimation.from = list.contentY
        scrollAnimation.to = end
        scrollAnimation.start()
    }

    Component.onCompleted: arrive()

    Connections {
        target: messages
        // Noted as the chat arrives, or once the history is in when it
        // arrived before: the conversation is read, and opens there.
        function onFirstUnreadChanged() {
            chatModel.markRead()
            view.placeAtFirstUnread = messages.firstUnreadId.length > 0
            settleLater.start()
        }
        function onModelReset() {
            settleLater.start()
            if (view.revealMessageId.length > 0)
                revealLater.start()
        }
        // At the end the list follows; scrolled away it stays, and counts
        // what arrived. A message the user sends brings the end back.
        function onRowsInserted(parent, first, last) {
            let sent = false
            for (let row = first; row <= last; ++row)
                sent = sent || messages.isOutgoing(row)
            if (sent)
                view.pinned = true
            if (view.pinned) {
                view.newSinceAway = 0
                scrollLater.start()
            } else {
                view.newSinceAway += last - first + 1
            }
        }
    }

    Shortcut {
        sequence: "Ctrl+End"
        enabled: view.visible
        onActivated: view.jumpToLatest()
    }

    Connections {
        target: Application
        function onStateChanged() {
            if (Application.state === Qt.ApplicationActive && view.visible)
                chatModel.markRead()
        }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        ChatHeader {
            Layout.fillWidth: true
            chat: chatModel
            levels: levelModel
        }

        ConflictBanner {
            Layout.fillWidth: true
            visible: chatModel.conflictText.length > 0
            chat: chatModel
        }

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 1
            color: Theme.separator
            opacity: 0.4
        }

        ListView {
            id: list
            objectName: "messageList"
            property string markedMessageId
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: messages
            spacing: 10
            topMargin: 16
            bottomMargin: 16
            leftMargin: 18
            rightMargin: 18
            reuseItems: true
            cacheBuffer: 0
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {
                onPressedChanged: {
                    if (pressed)
                        list.letGo()
                    else
                        list.settleMoved()
                }
            }

            Accessible.role: Accessible.List
            Accessible.name: chatModel.title

            onMovementStarted: letGo()
            onMovementEnded: settleMoved()
            // The user moves the list: rows that come into view and change
            // its height must not pull it back to the end meanwhile.
            function letGo() {
                view.holdingFirstUnread = false
                view.pinned = false
            }
            // The user moved the list: at the end it follows again.
            function settleMoved() {
                view.holdingFirstUnread = false
                view.pinned = atYEnd
                if (view.pinned)
                    view.newSinceAway = 0
            }
            // Narrowing the column (an inspector opening) rewraps every
            // bubble; a pinned list keeps its newest message in view.
            onContentHeightChanged: view.holdEnd()
            onHeightChanged: view.holdEnd()
            onWidthChanged: view.holdEnd()

            // A report card unfolding: the last one keeps the list's margin
            // below it, others just come fully into view.
            function revealRow(row) {
                if (row === count - 1 && view.pinned)
                    view.jumpToEnd()
                else
                    positionViewAtIndex(row, ListView.Contain)
            }

            delegate: MessageBubble {
                chat: chatModel
                markedMessageId: list.markedMessageId
                dividerText: messages.dividerText
                onRevealRequested: list.revealRow(index)
                width: list.width - list.leftMargin - list.rightMargin
            }

            NumberAnimation {
                id: scrollAnimation
                target: list
                property: "contentY"
                duration: 450
                easing.type: Easing.OutCubic
                // Late-created delegates may still move the end a little.
                onFinished: view.jumpToEnd()
            }

            HistoryLoading {
                objectName: "chatHistoryLoading"
                anchors.fill: parent
                visible: !view.controller.historyLoaded
            }
            EmptyState {
                objectName: "emptyState"
                anchors.centerIn: parent
                width: Math.min(360, list.width - 40)
                visible: list.count === 0 && view.controller.historyLoaded
                symbol: "paperplane"
                title: qsTrId("chat.empty.title")
                message: qsTrId("chat.empty.message")
            }
        }

        Composer {
            id: composer
            Layout.fillWidth: true
            chat: chatModel
            onLeaveRequested: view.leaveRequested()
        }
    }

    // Over the list's lower right corner (the layout fills the view).
    JumpToLatestButton {
        objectName: "jumpToLatest"
        x: list.x + list.width - width - 24
        y: list.y + list.height - height - 14
        visible: !view.pinned && list.count > 0
        count: view.newSinceAway
        onClicked: view.jumpToLatest()
    }
}
