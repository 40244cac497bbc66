import QtQuick
import QtQuick.Controls

ApplicationWindow {
    width: 480
    height: 240
    visible: true
    title: "Talvenne"

    Label {
        anchors.centerIn: parent
        horizontalAlignment: Text.AlignHCenter
        text: "Talvenne\nA chat client for LoRa mesh companion radios."
        font.pixelSize: 18
    }
}
