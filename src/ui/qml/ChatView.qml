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
        incomingMentionColor: Theme.orange
        incomingLinkColor: Theme.blue
    }

    function arrive() {
        chatModel.markRead()
        composer.focusField()
    }

    function jumpToEnd() {
        scrollAnimation.stop()
        if (list.count > 0)
            list.positionViewAtEnd()
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

    Component.onCompleted: {
        arrive()
        Qt.callLater(jumpToEnd)
    }

    Connections {
        target: messages
        function onModelReset() { Qt.callLater(view.jumpToEnd) }
        function onRowsInserted() { Qt.callLater(view.scrollToEnd) }
    }

    Connections {
        target: Qt.application
        function onStateChanged() {
            if (Qt.application.state === Qt.ApplicationActive && view.visible)
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
            ScrollBar.vertical: ScrollBar {}

            delegate: MessageBubble {
                width: list.width - list.leftMargin - list.rightMargin
            }

            NumberAnimation {
                id: scrollAnimation
                target: list
                property: "contentY"
                duration: 450
                easing.type: Easing.OutCubic
                // Late-created delegates may still move the end a little.
                onFinished: list.positionViewAtEnd()
            }

            EmptyState {
                objectName: "emptyState"
                anchors.centerIn: parent
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
        }
    }
}
