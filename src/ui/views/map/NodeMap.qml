import QtQuick
import Talvenne

// The map in a node's details and in the chat info pane: the node's
// position with one marker, a region 0.05 degrees wide and high around it.
// Not shown for a node without a usable position.
MapFrame {
    id: nodeMap

    required property MeshController controller
    required property string publicKey
    // The chat info pane's map is a little lower.
    property bool compact: false
    // "2.4 km NE" from the user's radio; empty unless both have a position.
    readonly property string distanceText: place.distanceText

    objectName: "nodeMap"
    visible: place.hasMap
    implicitHeight: compact ? 160 : 180
    markers: place
    settings: controller ? controller.mapSettings : null
    accessibleName: qsTrId("map.node.accessible.name")

    NodeMapModel {
        id: place
        controller: nodeMap.controller
        publicKey: nodeMap.publicKey
        onLatitudeChanged: nodeMap.centre()
        onLongitudeChanged: nodeMap.centre()
    }

    function centre() {
        if (place.hasMap)
            map.showSpan(place.latitude, place.longitude, 0.05)
    }
    Component.onCompleted: centre()
}
