import QtQuick
import QtQuick.Controls
import Talvenne

// A rounded search field with a magnifying glass.
TextField {
    id: field

    leftPadding: 30
    font.pixelSize: Theme.calloutSize
    color: Theme.primaryText
    placeholderTextColor: Theme.secondaryText
    selectionColor: Theme.selection
    selectedTextColor: Theme.primaryText
    background: Rectangle {
        implicitHeight: 30
        radius: 8
        color: Theme.controlBackground
        border.color: field.activeFocus ? Theme.accent : "transparent"
        border.width: 1
    }
    Icon {
        anchors.left: parent.left
        anchors.leftMargin: 9
        anchors.verticalCenter: parent.verticalCenter
        symbol: "magnifyingglass"
        size: 14
        color: Theme.secondaryText
    }
}
