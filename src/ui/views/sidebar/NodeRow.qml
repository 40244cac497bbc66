import QtQuick
import QtQuick.Layouts
import Talvenne

// One node in the sidebar's nodes list: avatar by type, name, type, route
// and location marks.
Item {
    id: row

    property string key
    property string title
    property string initials
    property string avatarSymbol
    property string typeName
    property string routeSymbol
    property string routeTint
    property bool hasLocation
    property bool isFavorite

    implicitHeight: 52

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 10
        anchors.rightMargin: 12
        spacing: 10

        Avatar {
            seed: row.key
            initials: row.initials
            symbol: row.avatarSymbol
            size: 38
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            RowLayout {
                Layout.fillWidth: true
                spacing: 4
                Icon {
                    visible: row.isFavorite
                    symbol: "star.fill"
                    size: 12
                    color: Theme.yellow
                }
                Text {
                    objectName: "rowTitle"
                    Layout.fillWidth: true
                    text: row.title
                    textFormat: Text.PlainText
                    color: Theme.primaryText
                    font.pixelSize: Theme.bodySize
                    font.weight: Font.Medium
                    elide: Text.ElideRight
                }
            }
            Text {
                textFormat: Text.PlainText
                text: row.typeName
                color: Theme.secondaryText
                font.pixelSize: Theme.captionSize
            }
        }
        ColumnLayout {
            spacing: 3
            Icon {
                Layout.alignment: Qt.AlignRight
                symbol: row.routeSymbol
                size: 13
                color: Theme.tint(row.routeTint)
            }
            Icon {
                Layout.alignment: Qt.AlignRight
                visible: row.hasLocation
                symbol: "location.fill"
                size: 10
                color: Theme.secondaryText
            }
        }
    }
}
