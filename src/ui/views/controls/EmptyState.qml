import QtQuick
import QtQuick.Layouts
import Talvenne

// The standard empty-content layout: a large icon, a title and a description.
ColumnLayout {
    property string symbol
    property string title
    property string message
    property real iconSize: 44

    spacing: 8

    Icon {
        Layout.alignment: Qt.AlignHCenter
        symbol: parent.symbol
        size: parent.iconSize
        color: Theme.secondaryText
    }
    Text {
        textFormat: Text.PlainText
        Layout.alignment: Qt.AlignHCenter
        Layout.maximumWidth: parent.width
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        text: parent.title
        color: Theme.primaryText
        font.pixelSize: Theme.title3Size
        font.weight: Font.DemiBold
    }
    Text {
        textFormat: Text.PlainText
        Layout.alignment: Qt.AlignHCenter
        Layout.fillWidth: true
        text: parent.message
        color: Theme.secondaryText
        font.pixelSize: Theme.bodySize
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
    }
}
