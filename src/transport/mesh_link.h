#pragma once

#include "transport/transport_state.h"

#include <QByteArray>
#include <QObject>

// The link to a companion radio: the Bluetooth LE link, or the simulated radio.
// It knows nothing of frame contents. Its five reports are signals, all
// emitted on the main thread; the controller is the one listener.
class MeshLink : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    virtual TransportState state() const = 0;

    virtual void startScan() = 0;
    virtual void stopScan() = 0;
    virtual void connectToDevice(const DiscoveredDevice& device) = 0;
    virtual void disconnectFromDevice() = 0;
    // Writes one whole frame; dropped silently when the link cannot write.
    virtual void write(const QByteArray& frame) = 0;

Q_SIGNALS:
    // After every assignment of the state, also when it did not change.
    void transportStateChanged(TransportState state);
    void transportDiscovered(const DiscoveredDevice& device);
    // The link is usable: the controller starts its handshake.
    void transportConnected();
    // One received frame; never empty.
    void transportReceived(const QByteArray& frame);
    void transportFailed(const QString& text);
};
