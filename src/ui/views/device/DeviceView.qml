import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Talvenne

// The inspector pane of the connected radio: identity, radio settings and
// battery, statistics, and the advert, reboot, disconnect and forget buttons.
ScrollView {
    id: pane

    required property MeshController controller

    objectName: "deviceView"
    contentWidth: availableWidth
    clip: true

    ShellModel {
        id: radio
        controller: pane.controller
    }

    DeviceViewModel {
        id: viewModel
        objectName: "deviceModel"
        controller: pane.controller
    }

    ColumnLayout {
        width: pane.availableWidth
        spacing: 18

        Text {
            textFormat: Text.PlainText
            Layout.topMargin: 16
            Layout.leftMargin: 16
            text: qsTrId("device.title")
            color: Theme.primaryText
            font.pixelSize: Theme.title3Size
            font.weight: Font.DemiBold
        }
        DeviceIdentitySection {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            device: viewModel
            radioConnected: radio.connected
        }
        DeviceRadioSection {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            device: viewModel
            radioConnected: radio.connected
        }
        DeviceStatisticsSection {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            device: viewModel
            radioConnected: radio.connected
        }
        DeviceActions {
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            Layout.bottomMargin: 16
            device: viewModel
            shell: radio
            onRebootRequested: rebootDialog.open()
            onForgetRequested: forgetDialog.open()
        }
    }

    RebootDialog {
        id: rebootDialog
        onConfirmed: pane.controller.reboot()
    }
    ForgetRadioDialog {
        id: forgetDialog
        radioName: viewModel.name
        onConfirmed: viewModel.forgetRadio()
    }
}
