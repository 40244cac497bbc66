import QtQuick
import QtQuick.Layouts
import Talvenne

// The top row of a sheet: a tinted symbol tile, the title and a subtitle.
RowLayout {
    id: header

    property string symbol
    property string title
    property string subtitle

    spacing: 14

    Rectangle {
        Layout.preferredWidth: 44
        Layout.preferredHeight: 44
        radius: 10
        color: Theme.selection
        Icon {
            anchors.centerIn: parent
            symbol: header.symbol
            size: 24
            color: Theme.accent
        }
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2
        Text {
            textFormat: Text.PlainText
            Layout.fillWidth: true
            text: header.title
            color: Theme.primaryText
            font.pixelSize: Theme.title2Size
            font.weight: Font.DemiBold
        }
        Text {
            textFormat: Text.PlainText
            Layout.fillWidth: true
            text: header.subtitle
            color: Theme.secondaryText
            font.pixelSize: Theme.calloutSize
            wrapMode: Text.Wrap
        }
    }
}
