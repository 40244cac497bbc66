import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// A labelled text field of a sheet, optionally monospaced and several lines
// high, with an optional counter under it.
ColumnLayout {
    id: field

    property string label
    property string placeholder
    property alias text: input.text
    property bool monospaced: false
    property int minimumLines: 1
    property int maximumLines: 1
    property string counterText
    property bool counterIsError: false
    readonly property alias input: input

    // Return or Enter in the field: the sheet's default action, never a line break.
    signal returnPressed

    spacing: 4

    Text {
        textFormat: Text.PlainText
        text: field.label
        color: Theme.primaryText
        font.pixelSize: Theme.calloutSize
        font.weight: Font.DemiBold
    }
    TextArea {
        id: input
        Layout.fillWidth: true
        textFormat: TextEdit.PlainText
        Accessible.name: field.label
        placeholderText: field.placeholder
        placeholderTextColor: Theme.secondaryText
        color: Theme.primaryText
        selectionColor: Theme.selection
        selectedTextColor: Theme.primaryText
        font.pixelSize: Theme.bodySize
        font.family: field.monospaced ? "monospace" : Application.font.family
        wrapMode: field.maximumLines > 1 ? TextEdit.WrapAnywhere : TextEdit.NoWrap
        Keys.onReturnPressed: field.returnPressed()
        Keys.onEnterPressed: field.returnPressed()
        Keys.onTabPressed: event => {
            nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
            event.accepted = true
        }
        Keys.onBacktabPressed: event => {
            nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
            event.accepted = true
        }
        FontMetrics { id: metrics; font: input.font }
        Layout.preferredHeight: topPadding + bottomPadding + metrics.lineSpacing *
                                Math.max(field.minimumLines, Math.min(field.maximumLines, lineCount))
        background: Rectangle {
            radius: 7
            color: Theme.controlBackground
            border.width: input.activeFocus ? 2 : 1
            border.color: input.activeFocus ? Theme.accent : Theme.separator
        }
    }
    Text {
        objectName: "counter"
        textFormat: Text.PlainText
        visible: field.counterText.length > 0
        Layout.alignment: Qt.AlignRight
        text: field.counterText
        color: field.counterIsError ? Theme.red : Theme.secondaryText
        font.pixelSize: Theme.captionSize
    }
}
