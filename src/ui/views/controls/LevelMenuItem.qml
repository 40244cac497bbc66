import QtQuick
import QtQuick.Controls
import Talvenne

// One notification level of a conversation in a menu, checked while it is
// the one in force. A hidden item takes no room in its menu.
MenuItem {
    id: item

    required property NotificationLevelModel levels
    property string level

    objectName: "levelItem_" + level
    height: visible ? implicitHeight : 0
    enabled: levels.settable
    checkable: true
    checked: levels.level === level
    text: levels.textOf(level)
    onTriggered: {
        levels.setLevel(level)
        // Choosing the level in force again leaves it checked.
        checked = Qt.binding(() => item.levels.level === item.level)
    }
}
