#pragma once

#include "controller/mesh_controller.h"
#include "controller_bound.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantList>
#include <QtQml/qqml.h>
#include <qcoro/qcorotask.h>

// What the device pane shows of the connected radio, as ready texts, and
// the pane's own short-lived state: the name editor and the power slider.
// Setting the controller is the pane appearing: statistics and battery are
// read once, then the slider takes the radio's power.
class DeviceViewModel : public ControllerBoundObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool hasSelfInfo READ hasSelfInfo NOTIFY changed)
    Q_PROPERTY(QString name READ name NOTIFY changed)
    Q_PROPERTY(QString typeName READ typeName NOTIFY changed)
    Q_PROPERTY(QString publicKeyPrefix READ publicKeyPrefix NOTIFY changed)
    Q_PROPERTY(bool hasDeviceInfo READ hasDeviceInfo NOTIFY changed)
    Q_PROPERTY(QString model READ model NOTIFY changed)
    Q_PROPERTY(QString firmware READ firmware NOTIFY changed)
    Q_PROPERTY(bool hasBattery READ hasBattery NOTIFY changed)
    Q_PROPERTY(QString batteryPercentText READ batteryPercentText NOTIFY changed)
    Q_PROPERTY(QString batterySymbol READ batterySymbol NOTIFY changed)
    Q_PROPERTY(QString batteryTint READ batteryTint NOTIFY changed)
    Q_PROPERTY(QString voltageText READ voltageText NOTIFY changed)
    Q_PROPERTY(QString frequencyText READ frequencyText NOTIFY changed)
    Q_PROPERTY(QString bandwidthText READ bandwidthText NOTIFY changed)
    Q_PROPERTY(QString spreadingFactorText READ spreadingFactorText NOTIFY changed)
    Q_PROPERTY(QString codingRateText READ codingRateText NOTIFY changed)
    Q_PROPERTY(int txPowerMaximum READ txPowerMaximum NOTIFY changed)
    Q_PROPERTY(QVariantList statistics READ statistics NOTIFY changed)
    Q_PROPERTY(bool editingName READ editingName NOTIFY stateChanged)
    Q_PROPERTY(QString nameDraft MEMBER m_nameDraft NOTIFY stateChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY stateChanged)
    Q_PROPERTY(bool canSaveName READ canSaveName NOTIFY stateChanged)
    Q_PROPERTY(double txPower MEMBER m_txPower NOTIFY stateChanged)
    Q_PROPERTY(QString txPowerText READ txPowerText NOTIFY stateChanged)

public:
    explicit DeviceViewModel(QObject* parent = nullptr);

    bool hasSelfInfo() const;
    QString name() const;
    QString typeName() const;
    QString publicKeyPrefix() const;
    bool hasDeviceInfo() const;
    QString model() const;
    QString firmware() const;
    bool hasBattery() const;
    QString batteryPercentText() const;
    QString batterySymbol() const;
    QString batteryTint() const;
    QString voltageText() const;
    QString frequencyText() const;
    QString bandwidthText() const;
    QString spreadingFactorText() const;
    QString codingRateText() const;
    int txPowerMaximum() const;
    QVariantList statistics() const;
    bool editingName() const { return m_editingName; }
    bool busy() const { return m_busy; }
    bool canSaveName() const { return !m_busy && !m_nameDraft.isEmpty(); }
    QString txPowerText() const;

    Q_INVOKABLE void editName();
    // Leaves the editor without saving; nothing while a save is under way.
    Q_INVOKABLE void cancelNameEdit();
    Q_INVOKABLE void saveName();
    // The slider was let go: the radio gets its position, fraction dropped.
    Q_INVOKABLE void commitTxPower();
    Q_INVOKABLE void refresh();
    Q_INVOKABLE void disconnectRadio();
    // "Forget this radio in Bluetooth": disconnects and removes the bond.
    Q_INVOKABLE void forgetRadio();

Q_SIGNALS:
    void changed();
    void stateChanged();

protected:
    void attach(MeshController* controller) override;

private:
    QCoro::Task<void> appear();
    QCoro::Task<void> runRefresh();
    QCoro::Task<void> runSaveName(QString name);

    bool m_editingName = false;
    QString m_nameDraft;
    bool m_busy = false;
    double m_txPower = 0;
};
