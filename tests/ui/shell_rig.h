#pragma once

#include "sim_rig.h"

// The controller over the simulated radio with its demo neighbours, for the
// shell's models and views.
struct ShellRig : SimRig {
    ShellRig()
        : SimRig(3) {
        radio.populateDemoNeighbours();
    }

    bool scan() {
        using namespace std::chrono_literals;
        controller->startScan();
        clock.advance(500ms);
        return !controller->discoveredDevices().isEmpty();
    }
};
