#pragma once

// What the writer and the reader of conversations.json agree on: the file's
// shape and how it spells dates.
//
// Shape, per conversation:
//   {"target":{"contact":{"_0":"<key>"}} | {"channel":{"_0":3}},
//    "messages":[...], "lastActivity":<seconds>, "unreadCount":<integer>}
// per message:
//   {"id":"<UUID>", "direction":{"incoming":{}}, "text":"...", "timestamp":<seconds>,
//    "snr":<number>, "deliveryState":{"delivered":{}}, "expectedAck":<integer>,
//    "pathLength":<integer>, "roundTripMillis":<integer>, "hopCount":<integer>,
//    "estimatedTimeoutMillis":<integer>}
// Dates are seconds (with fraction) since 2001-01-01 00:00:00 UTC. Optional
// members are left out when they have no value. Enumerations are objects with
// one member named after the case, whose value is an empty object.

#include "model/conversation.h"

#include <QDateTime>
#include <QtGlobal>
#include <algorithm>
#include <cmath>

namespace conversation_json {

// 2001-01-01 00:00:00 UTC in milliseconds since 1970.
constexpr qint64 referenceDateMSecs = 978307200000;

// What other clients write for the distant past: 0001-01-01 in the Julian
// calendar, as seconds since the reference date. Written for our own
// distantPast() too, so that an empty conversation looks the same in the file
// whichever client wrote it.
constexpr double distantPastSeconds = -63114076800.0;

// The latest date read back as itself; later numbers are clamped to it so
// that the millisecond arithmetic below cannot overflow.
constexpr double latestSeconds = 1.0e13;

inline qint64 distantPastMSecs() {
    static const qint64 msecs = distantPast().toMSecsSinceEpoch();
    return msecs;
}

inline QDateTime dateFromSeconds(double seconds) {
    // Anything at or before our own distant past (the other clients' value is
    // two days earlier) reads as distantPast(), so that both compare equal.
    if (!(seconds * 1000.0 > static_cast<double>(distantPastMSecs() - referenceDateMSecs)))
        return distantPast();
    const double clamped = std::min(seconds, latestSeconds);
    return QDateTime::fromMSecsSinceEpoch(std::llround(clamped * 1000.0) + referenceDateMSecs,
                                          Qt::UTC);
}

} // namespace conversation_json
