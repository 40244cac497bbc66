import QtQuick
import QtQuick.Layouts
import Talvenne

// Avatar, name and type of a node, centred, above its details.
ColumnLayout {
    id: header

    required property NodeDetailModel node

    spacing: 4

    Avatar {
        Layout.alignment: Qt.AlignHCenter
        size: 80
        seed: header.node.publicKey
        initials: header.node.initials
        symbol: header.node.avatarSymbol
    }
    Text {
        objectName: "nodeName"
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        text: header.node.name
        textFormat: Text.PlainText
        elide: Text.ElideRight
        color: Theme.primaryText
        font.pixelSize: Theme.title2Size
        font.bold: true
    }
    Row {
        Layout.alignment: Qt.AlignHCenter
        spacing: 4
        Icon {
            anchors.verticalCenter: parent.verticalCenter
            symbol: header.node.typeSymbol
            size: Theme.subheadlineSize + 2
            color: Theme.secondaryText
        }
        Text {
            textFormat: Text.PlainText
            text: header.node.typeName
            color: Theme.secondaryText
            font.pixelSize: Theme.subheadlineSize
        }
    }
}
