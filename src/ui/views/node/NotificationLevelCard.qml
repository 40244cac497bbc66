import QtQuick
import QtQuick.Layouts
import Talvenne

// The notification level of a conversation in an inspector pane: All,
// Mentions only or Nothing, as one segmented control.
PaneSection {
    id: card

    required property NotificationLevelModel levels
    readonly property var names: ["all", "mentions", "nothing"]

    objectName: "notificationLevelCard"
    title: qsTrId("notifications.button")

    SegmentedControl {
        objectName: "levelPicker"
        Layout.fillWidth: true
        enabled: card.levels.settable
        accessibleName: qsTrId("notifications.button")
        segments: [
            { name: "all", title: qsTrId("notifications.level.all.short"), symbol: "bell" },
            { name: "mentions", title: qsTrId("notifications.level.mentions.short"), symbol: "at" },
            { name: "nothing", title: qsTrId("notifications.level.nothing.short"), symbol: "bell.slash" }
        ]
        currentIndex: card.names.indexOf(card.levels.level)
        onActivated: (index) => card.levels.setLevel(card.names[index])
    }
}
