import QtQuick
import QtQuick.Controls
import Talvenne

// A map with what goes around it: the scale bar, the "outline only" note,
// the street tiles' attribution, zoom buttons, a marker's name under the
// pointer or the keyboard, and the keyboard's walk over the markers.
//
// With the focus, arrows pan and + and - zoom; Tab goes on to the markers
// in view, nearest to the user's radio first, each announced with its name,
// type and distance; Return opens one; Tab after the last leaves the meshMap.
FocusScope {
    id: frame

    required property MapMarkerSource markers
    required property MapSettings settings
    property alias autoFit: meshMap.autoFit
    property bool showsZoomButtons: true
    property string accessibleName: qsTrId("map.accessible.name")
    readonly property MeshMap map: meshMap

    // A node chosen by click, Return or from a group's list.
    signal nodeChosen(string publicKey, bool canChat)
    signal selfChosen()

    // The marker the keyboard is on, by its id (it keeps it while the view
    // moves); -1 as an index while none has the focus.
    property string focusedId: ""
    readonly property int focusedIndex: focusedId.length > 0 ? indexOf(focusedId, meshMap.viewRevision)
                                                           : -1
    // The marker whose name is shown: the one under the pointer, else the
    // keyboard's.
    readonly property int labelIndex: meshMap.hoveredMarker >= 0 ? meshMap.hoveredMarker : focusedIndex

    // The markers' places and names change with every move of the view:
    // bindings pass its revision in, and so follow it (a bare read of it in
    // a binding's body is compiled away).
    function indexOf(id, revision) { return meshMap.markerIndex(id) }
    function rectOf(index, revision) { return meshMap.markerRect(index) }
    function nameOf(index, revision) { return meshMap.markerName(index) }
    function spokenOf(index, revision) { return meshMap.markerSpoken(index) }

    function focusMarker(index) {
        if (index < 0 || index >= meshMap.markerCount) {
            frame.focusedId = ""
            return false
        }
        frame.focusedId = meshMap.markerId(index)
        // Two stand-ins take turns, so that every step is a change of focus
        // that screen readers announce.
        const proxy = proxyA.activeFocus ? proxyB : proxyA
        proxy.markerIndex = index
        proxy.forceActiveFocus(Qt.TabFocusReason)
        return true
    }
    function step(by) {
        const next = focusedIndex + by
        if (next < 0) {
            frame.focusedId = ""
            meshMap.forceActiveFocus(Qt.BacktabFocusReason)
        } else if (!focusMarker(next)) {
            // Past the last marker: on to whatever follows the meshMap.
            const after = meshMap.nextItemInFocusChain(true)
            if (after && after !== meshMap)
                after.forceActiveFocus(Qt.TabFocusReason)
        }
    }

    onFocusedIndexChanged: {
        // Its marker left the view: the focus goes back to the meshMap.
        if (focusedIndex < 0 && (proxyA.activeFocus || proxyB.activeFocus)) {
            frame.focusedId = ""
            meshMap.forceActiveFocus(Qt.OtherFocusReason)
        } else if (proxyA.activeFocus) {
            proxyA.markerIndex = focusedIndex
        } else if (proxyB.activeFocus) {
            proxyB.markerIndex = focusedIndex
        }
    }

    MeshMap {
        id: meshMap
        objectName: "meshMap"
        anchors.fill: parent
        focus: true
        activeFocusOnTab: true
        markers: frame.markers
        dark: Theme.dark
        streetTiles: frame.settings ? frame.settings.streetTiles : false
        tileAddress: frame.settings ? frame.settings.tileAddress : ""

        Accessible.role: Accessible.Graphic
        Accessible.name: frame.accessibleName
        Accessible.description: qsTrId("map.accessible.help")
        Accessible.focusable: true

        Keys.onTabPressed: (event) => { event.accepted = frame.focusMarker(0) }
        onActiveFocusChanged: if (activeFocus) frame.focusedId = ""
        onNodeActivated: (publicKey, canChat) => frame.nodeChosen(publicKey, canChat)
        onSelfActivated: frame.selfChosen()
        onGroupActivated: (publicKeys, names) => {
            groupMenu.keys = publicKeys
            groupMenu.names = names
            const at = frame.focusedIndex >= 0 ? meshMap.markerRect(frame.focusedIndex)
                                               : Qt.rect(mouse.x, mouse.y, 0, 0)
            groupMenu.popup(meshMap, at.x + at.width / 2, at.y + at.height)
        }

        PinchHandler {
            target: null
            property real last: 1
            onActiveChanged: last = 1
            onActiveScaleChanged: {
                meshMap.zoomAround(Math.log2(activeScale / last), centroid.position.x,
                               centroid.position.y)
                last = activeScale
            }
        }
        HoverHandler {
            id: mouse
            readonly property real x: point.position.x
            readonly property real y: point.position.y
        }
    }

    // The ring around the map while the keyboard is on it.
    FocusRing {
        shown: meshMap.activeFocus && !meshMap.focusedByMouse
        inset: 2
        radius: 4
    }

    component MarkerProxy: Item {
        id: proxy
        property int markerIndex: -1
        readonly property rect area: frame.rectOf(markerIndex, meshMap.viewRevision)
        x: area.x
        y: area.y
        width: area.width
        height: area.height
        Accessible.role: Accessible.Button
        // Only the stand-in that has the focus is there for screen readers.
        Accessible.ignored: !activeFocus
        Accessible.name: frame.spokenOf(markerIndex, meshMap.viewRevision)
        Accessible.focusable: true
        Accessible.onPressAction: meshMap.activate(markerIndex)
        Keys.onTabPressed: frame.step(1)
        Keys.onBacktabPressed: frame.step(-1)
        Keys.onReturnPressed: meshMap.activate(markerIndex)
        Keys.onEnterPressed: meshMap.activate(markerIndex)
        Keys.onSpacePressed: meshMap.activate(markerIndex)
        Keys.onEscapePressed: meshMap.forceActiveFocus(Qt.OtherFocusReason)
        // Arrows and zoom keys move the map as on the map itself.
        Keys.onPressed: (event) => { event.accepted = meshMap.moveByKey(event.key) }
    }
    MarkerProxy { id: proxyA; objectName: "markerProxyA" }
    MarkerProxy { id: proxyB; objectName: "markerProxyB" }

    Rectangle {
        objectName: "markerFocusRing"
        readonly property rect area: frame.rectOf(frame.focusedIndex, meshMap.viewRevision)
        visible: frame.focusedIndex >= 0 && (proxyA.activeFocus || proxyB.activeFocus)
        x: area.x - 4
        y: area.y - 4
        width: area.width + 8
        height: area.height + 8
        radius: width / 2
        color: "transparent"
        border.width: 2
        border.color: Theme.focusRing
    }

    // The name of the marker under the pointer or the keyboard.
    Rectangle {
        id: nameLabel
        objectName: "markerLabel"
        readonly property rect area: frame.rectOf(frame.labelIndex, meshMap.viewRevision)
        visible: frame.labelIndex >= 0 && name.text.length > 0
        x: Math.max(4, Math.min(frame.width - width - 4, area.x + area.width / 2 - width / 2))
        y: area.y - height - 4 < 4 ? area.y + area.height + 4 : area.y - height - 4
        width: Math.min(name.implicitWidth + 16, frame.width - 8)
        height: name.implicitHeight + 8
        radius: 6
        color: Theme.window
        border.width: 1
        border.color: Theme.separator
        Label {
            id: name
            anchors.centerIn: parent
            width: parent.width - 16
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideRight
            textFormat: Text.PlainText
            font.pixelSize: Theme.subheadlineSize
            font.weight: Font.DemiBold
            color: Theme.primaryText
            text: frame.nameOf(frame.labelIndex, meshMap.viewRevision)
        }
    }

    // --- corners: zoom buttons, outline note, scale bar, attribution

    component Plate: Rectangle {
        radius: 6
        color: Qt.rgba(Theme.window.r, Theme.window.g, Theme.window.b, 0.88)
        border.width: 1
        border.color: Theme.separator
    }

    Plate {
        objectName: "zoomButtons"
        visible: frame.showsZoomButtons
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.margins: 8
        width: zoomColumn.implicitWidth
        height: zoomColumn.implicitHeight
        Column {
            id: zoomColumn
            IconButton {
                objectName: "zoomInButton"
                symbol: "plus"
                tint: Theme.primaryText
                text: qsTrId("map.zoom.in")
                enabled: meshMap.zoom < meshMap.maximumZoom
                focusPolicy: Qt.NoFocus
                onClicked: meshMap.zoomIn()
            }
            IconButton {
                objectName: "zoomOutButton"
                symbol: "minus"
                tint: Theme.primaryText
                text: qsTrId("map.zoom.out")
                enabled: meshMap.zoom > meshMap.minimumZoom
                focusPolicy: Qt.NoFocus
                onClicked: meshMap.zoomOut()
            }
        }
    }

    Plate {
        objectName: "outlineOnlyNote"
        visible: meshMap.outlineOnly && meshMap.baseMapReady
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: 8
        width: outlineLabel.implicitWidth + 16
        height: outlineLabel.implicitHeight + 8
        HoverHandler { id: outlineHover }
        ToolTip.visible: outlineHover.hovered
        ToolTip.delay: 400
        ToolTip.text: qsTrId("map.outline.only.help")
        Label {
            textFormat: Text.PlainText
            id: outlineLabel
            anchors.centerIn: parent
            text: qsTrId("map.outline.only")
            font.pixelSize: Theme.captionSize
            color: Theme.secondaryText
        }
    }

    Plate {
        objectName: "scaleBar"
        anchors.left: parent.left
        anchors.bottom: parent.bottom
        anchors.margins: 8
        width: Math.max(scaleLabel.implicitWidth, meshMap.scaleBarWidth) + 16
        height: scaleLabel.implicitHeight + 14
        Label {
            textFormat: Text.PlainText
            id: scaleLabel
            x: 8
            y: 3
            text: meshMap.scaleBarText
            font.pixelSize: Theme.caption2Size
            color: Theme.primaryText
        }
        Rectangle {
            x: 8
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 5
            width: meshMap.scaleBarWidth
            height: 3
            color: Theme.primaryText
        }
    }

    Plate {
        objectName: "attribution"
        visible: meshMap.attribution.length > 0
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: 8
        width: Math.min(attributionLabel.implicitWidth + 12, frame.width - 140)
        height: attributionLabel.implicitHeight + 6
        Label {
            id: attributionLabel
            anchors.centerIn: parent
            width: parent.width - 12
            elide: Text.ElideRight
            textFormat: Text.PlainText
            text: meshMap.attribution
            font.pixelSize: Theme.caption2Size
            color: Theme.primaryText
        }
        MouseArea {
            anchors.fill: parent
            cursorShape: Qt.PointingHandCursor
            onClicked: Qt.openUrlExternally("https://www.openstreetmap.org/copyright")
        }
        Accessible.role: Accessible.Link
        Accessible.name: meshMap.attribution
        Accessible.description: qsTrId("map.attribution.open")
    }

    // Nodes at one place: pick one.
    Menu {
        id: groupMenu
        objectName: "groupMenu"
        property var keys: []
        property var names: []
        Instantiator {
            model: groupMenu.names
            delegate: MenuItem {
                id: groupItem
                required property int index
                required property string modelData
                text: modelData
                // Names come from the mesh: plain text only.
                contentItem: Label {
                    text: groupItem.modelData
                    textFormat: Text.PlainText
                    elide: Text.ElideRight
                    color: Theme.primaryText
                }
                onTriggered: meshMap.activateNode(groupMenu.keys[index])
            }
            onObjectAdded: (index, object) => groupMenu.insertItem(index, object)
            onObjectRemoved: (index, object) => groupMenu.removeItem(object)
        }
    }
}
