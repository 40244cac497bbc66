import QtQuick
import QtQuick.Layouts
import Talvenne

// A titled group of rows in an inspector pane, on a rounded card.
ColumnLayout {
    id: section

    property string title
    default property alias rows: card.data
    property alias header: headerRow.data

    spacing: 6

    RowLayout {
        id: headerRow
        Layout.fillWidth: true
        Layout.leftMargin: 4
        visible: section.title.length > 0
        Text {
            textFormat: Text.PlainText
            Layout.fillWidth: true
            text: section.title
            color: Theme.secondaryText
            font.pixelSize: Theme.captionSize
            font.weight: Font.DemiBold
            font.capitalization: Font.AllUppercase
        }
    }
    Rectangle {
        Layout.fillWidth: true
        implicitHeight: card.implicitHeight + 20
        radius: 10
        color: Theme.controlBackground
        ColumnLayout {
            id: card
            x: 12
            y: 10
            width: parent.width - 24
            spacing: 8
        }
    }
}
