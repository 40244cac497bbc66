import QtQuick
import Talvenne

// The connection screen's hero: a soft disc with the product image on it,
// breathing gently while `breathing` is on: one breath takes `stepsPerBreath`
// steps of `step`.
Rectangle {
    id: hero

    property bool breathing: false
    property int step: 0
    property int stepsPerBreath: 25

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
        scale: hero.breathing
               ? 1 - 0.02 * Math.cos(2 * Math.PI * (hero.step % hero.stepsPerBreath) / hero.stepsPerBreath)
               : 1
    }
}
