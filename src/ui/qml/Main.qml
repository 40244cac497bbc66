import QtQuick
import QtQuick.Controls
import Talvenne

ApplicationWindow {
    width: 480
    height: 240
    visible: true
    title: "Talvenne"
    color: Theme.window

    EmptyState {
        anchors.centerIn: parent
        symbol: "bubble.left.and.bubble.right"
        title: "Talvenne"
        message: "A chat client for LoRa mesh companion radios."
    }
}
