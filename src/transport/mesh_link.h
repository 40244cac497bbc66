#pragma once

#include "transport/transport_state.h"

#include <QByteArray>
#include <QObject>
#include <QUuid>

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
    // A frame the radio refuses is reported as transportWriteFailed.
    virtual void write(const QByteArray& frame) = 0;
    // Removes what the system keeps of this radio (its bond, its cached
    // services), ending the connection first when it is to this radio; the
    // next connection pairs afresh. Links without such a memory do nothing.
    virtual void forgetDevice(const QUuid& id) { Q_UNUSED(id) }

Q_SIGNALS:
    // After every assignment of the state, also when it did not change.
    void transportStateChanged(TransportState state);
    void transportDiscovered(const DiscoveredDevice& device);
    // The link is usable: the controller starts its handshake.
    void transportConnected();
    // One received frame; never empty.
    void transportReceived(const QByteArray& frame);
    void transportFailed(const QString& text);
    // The radio refused a frame (or it cannot be carried); `text` says why.
    void transportWriteFailed(const QByteArray& frame, const QString& text);
    // Bluetooth is usable again after it was not (the computer woke, the
    // adapter came back): a radio to get back to can be tried at once.
    void bluetoothReturned();
};
