import QtQuick
import QtQuick.Layouts
import Talvenne

// The connected radio in the toolbar: a state dot, its name and the syncing
// or battery line.
Rectangle {
    id: pill

    required property ShellModel shell

    // Read as one line: the radio, then its sync or battery state.
    Accessible.role: Accessible.StaticText
    Accessible.name: pill.shell.pillSecondLine.length > 0
                     ? pill.shell.pillTitle + ", " + pill.shell.pillSecondLine
                     : pill.shell.pillTitle

    implicitWidth: row.implicitWidth + 24
    implicitHeight: 36
    radius: height / 2
    color: Theme.controlBackground

    RowLayout {
        id: row
        anchors.centerIn: parent
        spacing: 8

        Rectangle {
            width: 8
            height: 8
            radius: 4
            color: Theme.tint(pill.shell.pillDotTint)
        }
        ColumnLayout {
            spacing: 0
            Text {
                objectName: "pillTitle"
                text: pill.shell.pillTitle
                textFormat: Text.PlainText
                color: Theme.primaryText
                font.pixelSize: Theme.subheadlineSize
                font.weight: Font.DemiBold
            }
            Text {
                objectName: "pillSecondLine"
                visible: text.length > 0
                text: pill.shell.pillSecondLine
                textFormat: Text.PlainText
                color: Theme.secondaryText
                font.pixelSize: Theme.caption2Size
            }
        }
    }
}
