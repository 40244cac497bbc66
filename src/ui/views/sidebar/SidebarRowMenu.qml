import QtQuick
import QtQuick.Controls
import Talvenne

// The context menu of a sidebar row: favourite or not for a contact or a
// node, remove for a channel, and a conversation's notification level.
Menu {
    id: menu

    required property MeshController controller
    property bool isChannel: false
    property int channelIndex: -1
    property string contactKey
    property bool isFavorite: false
    // The conversation of a messages row; empty for a node.
    property string conversationKey

    NotificationLevelModel {
        id: levels
        controller: menu.controller
        conversationKey: menu.conversationKey
    }

    ShellModel {
        id: radio
        controller: menu.controller
    }

    MenuItem {
        objectName: "favoriteMenuItem"
        visible: !menu.isChannel
        height: visible ? implicitHeight : 0
        text: qsTrId(menu.isFavorite ? "sidebar.favorite.remove" : "sidebar.favorite.add")
        icon.source: Look.iconSource(menu.isFavorite ? "star.slash" : "star")
        onTriggered: menu.controller.toggleFavorite(menu.contactKey)
    }
    MenuItem {
        objectName: "removeChannelMenuItem"
        visible: menu.isChannel
        enabled: radio.connected
        height: visible ? implicitHeight : 0
        text: qsTrId("sidebar.channel.remove")
        icon.source: Look.iconSource("trash")
        icon.color: Theme.red
        palette.windowText: Theme.red
        onTriggered: menu.controller.removeChannelQml(menu.channelIndex)
    }
    // Why removing is off while the radio is away.
    MenuItem {
        objectName: "radioNeededMenuItem"
        visible: menu.isChannel && !radio.connected
        height: visible ? implicitHeight : 0
        enabled: false
        text: radio.radioNeededReason
    }
    MenuSeparator {
        visible: menu.conversationKey.length > 0
        height: visible ? implicitHeight : 0
    }
    LevelMenuItem {
        levels: levels
        level: "all"
        visible: menu.conversationKey.length > 0
    }
    LevelMenuItem {
        levels: levels
        level: "mentions"
        visible: menu.conversationKey.length > 0
    }
    LevelMenuItem {
        levels: levels
        level: "nothing"
        visible: menu.conversationKey.length > 0
    }
}
