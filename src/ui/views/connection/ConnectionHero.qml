import QtQuick
import Talvenne

// The connection screen's hero: a soft disc with the product image gently
// breathing on it while `pulse` is on.
Rectangle {
    id: hero

    property bool pulse: false

    implicitWidth: 140
    implicitHeight: 140
    radius: 70
    color: Theme.dark ? Qt.rgba(1, 1, 1, 0.06) : Qt.rgba(1, 1, 1, 0.7)
    border.color: Theme.separator
    border.width: 1

    Rectangle {
        anchors.fill: parent
        anchors.topMargin: 3
        z: -1
        radius: 70
        color: Qt.rgba(0, 0, 0, 0.08)
    }
    Image {
        objectName: "splash"
        anchors.centerIn: parent
        width: 110
        height: 110
        source: "qrc:/images/splash.svg"
        sourceSize.width: 220
        sourceSize.height: 220
        smooth: true
        SequentialAnimation on scale {
            running: hero.pulse
            loops: Animation.Infinite
            NumberAnimation { from: 0.98; to: 1.02; duration: 2500; easing.type: Easing.InOutQuad }
            NumberAnimation { from: 1.02; to: 0.98; duration: 2500; easing.type: Easing.InOutQuad }
        }
    }
}
