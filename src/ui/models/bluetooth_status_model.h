#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQml/qqml.h>

class BleAdapter;

// Why Bluetooth cannot be used right now, for the connection screen: a title,
// a plain explanation, and whether the app may switch the adapter on. Reads
// the Bluetooth adapter the application hands in; without one (the demo and
// the tests) there is never a problem.
class BluetoothStatusModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    // The application's BleAdapter; any other object counts as none.
    Q_PROPERTY(QObject* adapter READ adapter WRITE setAdapter NOTIFY adapterChanged)
    Q_PROPERTY(bool problem READ problem NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString detail READ detail NOTIFY changed)
    Q_PROPERTY(bool canPowerOn READ canPowerOn NOTIFY changed)

public:
    explicit BluetoothStatusModel(QObject* parent = nullptr);

    QObject* adapter() const;
    void setAdapter(QObject* adapter);

    bool problem() const;
    QString title() const;
    QString detail() const;
    bool canPowerOn() const;

    // Asks the system to switch the adapter on; the outcome arrives as a change.
    Q_INVOKABLE void powerOn();

Q_SIGNALS:
    void adapterChanged();
    void changed();

private:
    QPointer<BleAdapter> m_adapter;
};
