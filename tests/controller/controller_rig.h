#pragma once

#include "controller_bench.h"
#include "fake_link.h"

// A controller over a FakeLink, which the test plays the radio through.
struct ControllerRig : ControllerBench<FakeLink> {
    explicit ControllerRig(bool build = true)
        : ControllerBench({}, build) {}

    // Connected without the handshake, for tests of single operations.
    void connectQuietly() { link.setState(TransportState::connected); }
    void deliver(const MeshEvent& event) { controller->handleEvent(event); }
};
