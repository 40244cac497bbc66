#pragma once

#include "controller_bench.h"
#include "sim/simulated_radio.h"
#include "test_support.h"

#include <chrono>

// A controller talking to the simulated radio, on virtual time: real frames
// both ways, with the radio's knobs for lost answers, errors and link drops.
// `history` is written to the history file before the controller loads it.
//
// Declare a test's outcomes before its rig: destroying the controller ends
// every operation still waiting, and those write their outcome then.
struct SimRig : ControllerBench<SimulatedRadio> {
    SimulatedRadio& radio = link;

    // `holdHistory`: see buildControllerHoldingHistory().
    explicit SimRig(quint32 seed = 5, const QList<Conversation>& history = {},
                    bool holdHistory = false)
        : ControllerBench(history, !holdHistory, seed) {
        if (holdHistory)
            buildControllerHoldingHistory();
        clock.settle();
    }

    // Scans, connects and lets the handshake finish; the frames it wrote are
    // forgotten, so a test sees only its own.
    bool connect() {
        using namespace std::chrono_literals;
        controller->startScan();
        clock.advance(500ms);
        if (controller->discoveredDevices().isEmpty())
            return false;
        controller->connectToDevice(controller->discoveredDevices().first());
        clock.advance(1s);
        clock.advance(20s);
        radio.clearWrittenFrames();
        return controller->transportState() == TransportState::connected &&
               !controller->isSyncing();
    }

    std::optional<Contact> contactNamed(const QString& name) const {
        for (const Contact& contact : controller->contacts()) {
            if (contact.name == name)
                return contact;
        }
        return std::nullopt;
    }

    // The command codes the radio received, in order.
    QList<int> writtenCodes() const {
        QList<int> codes;
        for (const QByteArray& frame : radio.writtenFrames())
            codes << std::uint8_t(frame.at(0));
        return codes;
    }
};
