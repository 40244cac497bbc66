#pragma once

#include "transport/mesh_link.h"

#include <QHash>
#include <QPointer>
#include <QUuid>

// The link of the demo mode: the Bluetooth link and a simulated radio behind
// one MeshLink, so the simulated radio shows up in the scan like any radio.
//
// - Scanning starts and stops both links; every discovery is reported, and
//   the link that found a device is remembered by its id.
// - connectToDevice() goes to the link that found the device, which becomes
//   the active link until it reports `disconnected`; disconnect and write go
//   to the active link. Its drop is passed on as `disconnected`, followed by
//   the state of the link that counts once none is active.
// - With an active link, the state and all reports come from it alone. With
//   none, the state is the Bluetooth link's, or the simulated radio's when
//   Bluetooth is off, not permitted or absent (so the demo works anywhere).
//   Discoveries of both links are reported while no link is active.
class DemoLink final : public MeshLink {
    Q_OBJECT
public:
    // Neither link is owned. `bluetooth` may be null.
    DemoLink(MeshLink* bluetooth, MeshLink* simulated, QObject* parent = nullptr);

    TransportState state() const override;
    void startScan() override;
    void stopScan() override;
    void connectToDevice(const DiscoveredDevice& device) override;
    void disconnectFromDevice() override;
    void write(const QByteArray& frame) override;
    void forgetDevice(const QUuid& id) override;

private:
    void attach(MeshLink* link);
    // The link whose state counts while no link is active.
    MeshLink* idleLink() const;
    bool speaksNow(MeshLink* link) const;

    QPointer<MeshLink> m_bluetooth;
    QPointer<MeshLink> m_simulated;
    QPointer<MeshLink> m_active;
    QHash<QUuid, MeshLink*> m_finder;
};
