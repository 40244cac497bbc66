#pragma once

#include "controller/conversation_store.h"
#include "controller/mesh_controller.h"
#include "sim/simulated_radio.h"
#include "test_support.h"
#include "time/clock.h"

#include <QSettings>
#include <QTemporaryDir>
#include <chrono>
#include <memory>

// The controller over the simulated radio with its demo neighbours, on
// virtual time, for the shell's models and views.
struct ShellRig {
    QTemporaryDir dir;
    ManualClock clock;
    SimulatedRadio radio{&clock, 3};
    std::unique_ptr<ConversationStore> store;
    std::unique_ptr<QSettings> settings;
    std::unique_ptr<MeshController> controller;

    ShellRig() {
        radio.populateDemoNeighbours();
        store = std::make_unique<ConversationStore>(dir.filePath(QStringLiteral("history.json")));
        settings = std::make_unique<QSettings>(dir.filePath(QStringLiteral("settings.ini")),
                                               QSettings::IniFormat);
        controller =
            std::make_unique<MeshController>(&radio, &clock, nullptr, store.get(), settings.get());
        clock.settle();
    }
    ~ShellRig() { controller.reset(); }

    bool scan() {
        using namespace std::chrono_literals;
        controller->startScan();
        clock.advance(500ms);
        return !controller->discoveredDevices().isEmpty();
    }

    bool connect() {
        using namespace std::chrono_literals;
        if (controller->discoveredDevices().isEmpty() && !scan())
            return false;
        controller->connectToDevice(controller->discoveredDevices().first());
        clock.advance(1s);
        clock.advance(20s);
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
};
