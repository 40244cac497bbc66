import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// Street maps: off unless the user turns them on, and from which address.
Popup {
    id: popup

    required property MapSettings settings

    objectName: "mapSettingsPopup"
    width: 340
    padding: 14
    focus: true
    modal: false

    background: Rectangle {
        radius: 10
        color: Theme.window
        border.width: 1
        border.color: Theme.separator
    }

    contentItem: ColumnLayout {
        spacing: 8
        Label {
            textFormat: Text.PlainText
            text: qsTrId("map.settings")
            font.pixelSize: Theme.headlineSize
            font.weight: Font.DemiBold
            color: Theme.primaryText
        }
        Switch {
            id: streetSwitch
            objectName: "streetTilesSwitch"
            Layout.fillWidth: true
            text: qsTrId("map.tiles.switch")
            checked: popup.settings.streetTiles
            onToggled: popup.settings.streetTiles = checked
        }
        Label {
            textFormat: Text.PlainText
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: qsTrId(popup.settings.streetTiles ? "map.tiles.on.note" : "map.tiles.off.note")
            font.pixelSize: Theme.captionSize
            color: Theme.secondaryText
        }
        Label {
            textFormat: Text.PlainText
            text: qsTrId("map.tiles.address")
            font.pixelSize: Theme.subheadlineSize
            color: Theme.secondaryText
        }
        TextField {
            id: address
            objectName: "tileAddressField"
            Layout.fillWidth: true
            text: popup.settings.tileAddress
            selectByMouse: true
            font.family: "monospace"
            font.pixelSize: Theme.captionSize
            Accessible.name: qsTrId("map.tiles.address")
            onEditingFinished: popup.settings.tileAddress = text
        }
        Label {
            objectName: "tileAddressError"
            Layout.fillWidth: true
            visible: !popup.settings.tileAddressUsable
            wrapMode: Text.Wrap
            text: qsTrId("map.tiles.address.invalid")
            textFormat: Text.PlainText
            font.pixelSize: Theme.captionSize
            color: Theme.red
        }
        Button {
            objectName: "tileAddressReset"
            visible: popup.settings.tileAddress !== popup.settings.defaultTileAddress
            text: qsTrId("map.tiles.address.reset")
            flat: true
            onClicked: {
                popup.settings.tileAddress = ""
                address.text = popup.settings.tileAddress
            }
        }
    }
}
