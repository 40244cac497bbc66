#include "sim/demo_link.h"

DemoLink::DemoLink(MeshLink* bluetooth, MeshLink* simulated, QObject* parent)
    : MeshLink(parent)
    , m_bluetooth(bluetooth)
    , m_simulated(simulated) {
    attach(bluetooth);
    attach(simulated);
}

void DemoLink::attach(MeshLink* link) {
    if (!link)
        return;
    connect(link, &MeshLink::transportStateChanged, this, [this, link](TransportState state) {
        if (!speaksNow(link))
            return;
        if (link == m_active && state == TransportState::disconnected) {
            // The drop first, so that the listener resets; then the state
            // of the link that counts from now on.
            m_active = nullptr;
            Q_EMIT transportStateChanged(TransportState::disconnected);
        }
        Q_EMIT transportStateChanged(this->state());
    });
    connect(link, &MeshLink::transportDiscovered, this,
            [this, link](const DiscoveredDevice& device) {
                if (m_active)
                    return;
                m_finder.insert(device.id, link);
                Q_EMIT transportDiscovered(device);
            });
    connect(link, &MeshLink::transportConnected, this, [this, link] {
        if (link == m_active)
            Q_EMIT transportConnected();
    });
    connect(link, &MeshLink::transportReceived, this, [this, link](const QByteArray& frame) {
        if (link == m_active)
            Q_EMIT transportReceived(frame);
    });
    connect(link, &MeshLink::transportFailed, this, [this, link](const QString& text) {
        if (link == m_active || !m_active)
            Q_EMIT transportFailed(text);
    });
    connect(link, &MeshLink::transportWriteFailed, this,
            [this, link](const QByteArray& frame, const QString& text) {
                if (link == m_active)
                    Q_EMIT transportWriteFailed(frame, text);
            });
    connect(link, &MeshLink::bluetoothReturned, this, &MeshLink::bluetoothReturned);
}

MeshLink* DemoLink::idleLink() const {
    if (!m_bluetooth)
        return m_simulated;
    switch (m_bluetooth->state()) {
    case TransportState::poweredOff:
    case TransportState::unauthorized:
    case TransportState::disconnected:
        return m_simulated ? m_simulated.data() : m_bluetooth.data();
    default:
        return m_bluetooth;
    }
}

bool DemoLink::speaksNow(MeshLink* link) const {
    // While idle a change of either link can change which one counts, so
    // both are passed on; the reported value is always state().
    return m_active ? link == m_active : true;
}

TransportState DemoLink::state() const {
    if (m_active)
        return m_active->state();
    MeshLink* idle = idleLink();
    return idle ? idle->state() : TransportState::poweredOff;
}

void DemoLink::startScan() {
    if (m_active)
        return;
    m_finder.clear();
    for (MeshLink* link : {m_bluetooth.data(), m_simulated.data()}) {
        if (link)
            link->startScan();
    }
}

void DemoLink::stopScan() {
    for (MeshLink* link : {m_bluetooth.data(), m_simulated.data()}) {
        if (link)
            link->stopScan();
    }
}

void DemoLink::connectToDevice(const DiscoveredDevice& device) {
    MeshLink* link = m_finder.value(device.id);
    if (!link)
        return;
    for (MeshLink* other : {m_bluetooth.data(), m_simulated.data()}) {
        if (other && other != link)
            other->stopScan();
    }
    m_active = link;
    link->connectToDevice(device);
}

void DemoLink::disconnectFromDevice() {
    if (m_active)
        m_active->disconnectFromDevice();
}

void DemoLink::forgetDevice(const QUuid& id) {
    if (MeshLink* link = m_finder.value(id))
        link->forgetDevice(id);
    else if (m_bluetooth)
        m_bluetooth->forgetDevice(id);
}

void DemoLink::write(const QByteArray& frame) {
    if (m_active)
        m_active->write(frame);
}
