#pragma once

// What the reconnection keeps between its steps: the radio to come back to,
// the step under way and how many attempts failed.

#include "time/clock.h"

#include <QDateTime>
#include <QString>
#include <QUuid>
#include <cstdint>

enum class ReconnectStep { idle, pausing, waitingForBluetooth, scanning, connecting };

struct RememberedDevice {
    QUuid id;
    QString name;

    bool operator==(const RememberedDevice&) const = default;
};

struct ReconnectionState {
    RememberedDevice remembered;
    // The settings group the remembered radio is kept in (empty: the top level).
    QString group;
    bool autoReconnect = true;
    // The application has let the reconnection begin (its window is up).
    bool enabled = false;
    bool reconnecting = false;
    ReconnectStep step = ReconnectStep::idle;
    int failures = 0;
    Clock::TimerId timer = 0; // 0 when none
    QDateTime due;            // when the step under way ends at the latest
    // The connection whose handshake went through.
    std::uint64_t provenConnection = 0;

    // Nothing is tried until Bluetooth is usable again.
    bool waitsForBluetooth() const { return step == ReconnectStep::waitingForBluetooth; }
    // Reconnecting is allowed, wanted, and has a radio to look for.
    bool mayReconnect() const { return enabled && autoReconnect && !remembered.id.isNull(); }
    // The settings key of `key` in the remembered radio's group.
    QString settingsKey(const char* key) const;
    // The step under way ends far later than it was due: the computer slept.
    bool overslept(const QDateTime& now) const;
    // A handshake went through on `connection`: the failures count from zero.
    void handshakeWentThrough(std::uint64_t connection) {
        provenConnection = connection;
        failures = 0;
    }
};
