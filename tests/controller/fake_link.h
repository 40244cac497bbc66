#pragma once

#include "recording_notifier.h"
#include "transport/mesh_link.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <cstdint>
#include <functional>

// A link that records what the controller writes and lets a test play the
// radio: set the state, report a usable link, or answer a write right inside
// write() (the hardest case for request correlation).
class FakeLink final : public MeshLink {
public:
    TransportState state() const override { return m_state; }
    void startScan() override { ++scanStarts; }
    void stopScan() override { ++scanStops; }
    void connectToDevice(const DiscoveredDevice& device) override { connectRequests << device; }
    void disconnectFromDevice() override { ++disconnectRequests; }
    void write(const QByteArray& frame) override {
        written << frame;
        if (onWrite)
            onWrite(frame);
    }

    void setState(TransportState state) {
        m_state = state;
        Q_EMIT transportStateChanged(state);
    }
    // Connected and ready for commands: the controller starts its handshake.
    void becomeUsable() {
        setState(TransportState::connected);
        Q_EMIT transportConnected();
    }

    QList<QByteArray> written;
    std::function<void(const QByteArray&)> onWrite;
    int scanStarts = 0;
    int scanStops = 0;
    int disconnectRequests = 0;
    QList<DiscoveredDevice> connectRequests;

private:
    TransportState m_state = TransportState::disconnected;
};
