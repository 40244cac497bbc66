import QtQuick
import QtQuick.Layouts
import Talvenne

// The placeholder of an empty detail column.
Item {
    id: detail

    property string symbol
    property string title
    property string message
    // Smaller type for narrow places such as the sidebar.
    property bool compact: false

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(360, detail.width - (detail.compact ? 32 : 40))
        spacing: 10

        Icon {
            Layout.alignment: Qt.AlignHCenter
            symbol: detail.symbol
            size: detail.compact ? 36 : 52
            color: Theme.secondaryText
            opacity: 0.8
        }
        Text {
            textFormat: Text.PlainText
            Layout.alignment: Qt.AlignHCenter
            Layout.maximumWidth: 360
            text: detail.title
            color: Theme.primaryText
            font.pixelSize: detail.compact ? Theme.title3Size : Theme.title2Size
            font.weight: Font.DemiBold
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
        }
        Text {
            textFormat: Text.PlainText
            Layout.alignment: Qt.AlignHCenter
            Layout.fillWidth: true
            text: detail.message
            color: Theme.secondaryText
            font.pixelSize: detail.compact ? Theme.calloutSize : Theme.bodySize
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
        }
    }
}
