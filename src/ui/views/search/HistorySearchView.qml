import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Search over every conversation's messages (Ctrl+Shift+F): a field, the
// matches newest first, and a click or Return opens the conversation at the
// message. Up and Down walk the results from the field; Escape closes.
Popup {
    id: popup

    required property MeshController controller

    // The user chose a result.
    signal resultChosen(string conversationKey, string messageId)

    objectName: "historySearch"
    parent: Overlay.overlay
    x: Math.round((parent.width - width) / 2)
    y: 64
    width: Math.min(620, parent.width - 80)
    height: Math.min(480, parent.height - 120)
    modal: true
    focus: true
    padding: 12
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    Overlay.modal: Rectangle { color: Qt.rgba(0, 0, 0, Theme.dark ? 0.45 : 0.2) }
    background: Rectangle {
        radius: 12
        color: Theme.window
        border.width: 1
        border.color: Theme.separator
    }

    onOpened: {
        field.selectAll()
        field.forceActiveFocus(Qt.ShortcutFocusReason)
    }

    function choose(index) {
        const key = search.conversationKeyAt(index)
        if (key.length === 0)
            return
        popup.resultChosen(key, search.messageIdAt(index))
        popup.close()
    }

    HistorySearchModel {
        id: search
        controller: popup.controller
        query: field.text
    }

    contentItem: ColumnLayout {
        spacing: 10

        SearchField {
            id: field
            objectName: "historySearchField"
            Layout.fillWidth: true
            placeholderText: qsTrId("search.history.prompt")
            Accessible.name: placeholderText
            Keys.onDownPressed: results.incrementCurrentIndex()
            Keys.onUpPressed: results.decrementCurrentIndex()
            Keys.onReturnPressed: popup.choose(Math.max(0, results.currentIndex))
            Keys.onEnterPressed: popup.choose(Math.max(0, results.currentIndex))
        }

        ListView {
            id: results
            objectName: "historySearchResults"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: search
            currentIndex: count > 0 ? 0 : -1
            boundsBehavior: Flickable.StopAtBounds
            keyNavigationWraps: false
            highlightMoveDuration: 0
            Accessible.role: Accessible.List
            Accessible.name: qsTrId("search.history.results")
            ScrollBar.vertical: ScrollBar {}

            delegate: HistorySearchResultRow {
                width: results.width
                current: ListView.isCurrentItem
                onClicked: popup.choose(index)
            }

            // What is found so far shows at once; this says that older
            // messages are still being looked through.
            footer: Text {
                objectName: "historySearchMore"
                width: results.width
                visible: search.searching
                height: visible ? implicitHeight + 16 : 0
                topPadding: 8
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignTop
                text: qsTrId("search.history.searching")
                textFormat: Text.PlainText
                color: Theme.secondaryText
                font.pixelSize: Theme.bodySize
            }

            Text {
                objectName: "historySearchEmpty"
                anchors.centerIn: parent
                width: parent.width - 40
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                visible: search.emptyText.length > 0
                text: search.emptyText
                textFormat: Text.PlainText
                color: Theme.secondaryText
                font.pixelSize: Theme.bodySize
            }
        }
    }
}
