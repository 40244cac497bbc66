import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The detail pane of one conversation: header, conflict banner, the message
// list (kept scrolled to the newest message) and the composer.
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

    MessageListModel {
        id: messages
        controller: view.controller
        conversationKey: view.conversationKey
        incomingMentionColor: Theme.mention
        incomingLinkColor: Theme.blue
        incomingBubbleColor: Theme.incomingBubble
    }

    // A new conversation is shown: it is read, and opens at its end. The
    // composer takes the focus only when asked (Enter or a click on the row),
    // so arrow keys can walk the sidebar.
    function arrive() {
        chatModel.markRead()
        pinned = true
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

    // The end once the list is laid out, unless a revealed message let go of it.
    function settleAtEnd() {
        if (pinned)
            jumpToEnd()
    }

    function holdEnd() {
        if (pinned && !scrollAnimation.running)
            settleLater.start()
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
        function onModelReset() {
            settleLater.start()
            if (view.revealMessageId.length > 0)
                revealLater.start()
        }
        function onRowsInserted() { scrollLater.start() }
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
            cacheBuffer: 1200
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {
                onPressedChanged: if (!pressed) view.pinned = list.atYEnd
            }

            Accessible.role: Accessible.List
            Accessible.name: chatModel.title

            onMovementEnded: view.pinned = atYEnd
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

            EmptyState {
                objectName: "emptyState"
                anchors.centerIn: parent
                width: Math.min(360, list.width - 40)
                visible: list.count === 0
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
}
