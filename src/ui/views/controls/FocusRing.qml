import QtQuick
import Talvenne

// The ring drawn around a control while it has keyboard focus; its parent
// decides when (`shown`), usually from the control's visualFocus.
Rectangle {
    property bool shown: false
    property real inset: -3

    anchors.fill: parent
    anchors.margins: inset
    visible: shown
    z: 100
    color: "transparent"
    border.width: 2
    border.color: Theme.focusRing
}
