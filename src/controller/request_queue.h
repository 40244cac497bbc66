#pragma once

// The commands that wait for their answers and the pauses that can be cut
// short: the controller settles both when the link goes.

#include "controller/pending_request.h"

#include <QDateTime>
#include <QList>
#include <cstdint>
#include <optional>

// Keeps the requests in their order and says which one an event can answer;
// writing frames, timers and resuming the waiting coroutines stay with the
// controller.
struct RequestQueue {
    QList<PendingRequest> queued; // not written yet, oldest first
    std::optional<PendingRequest> inFlight;
    QList<OverdueRequest> overdue; // oldest first
    // Oldest first; they stand until the last one's own answer is overdue.
    QList<ProvisionalAnswer> provisional;
    QDateTime provisionalUntil;
    QList<Pause> pauses;
    std::uint64_t nextId = 1;

    int pendingCount() const { return int(queued.size()) + (inFlight ? 1 : 0); }
    // Queues the request ahead of the message drains' reads (or, itself a
    // drain's read, at the end): a long drain never holds up anything else.
    void enqueue(PendingRequest record);
    // Whether `event` fits the request in flight.
    bool inFlightFits(const MeshEvent& event) const;
    // Whether `event` could also be the late answer of a timed-out command,
    // taken at once instead of the in-flight request's own.
    bool couldBeLateAnswer(const MeshEvent& event) const;
    // Whether `event` is a provisionally answered request's own answer.
    bool correctsProvisional(const MeshEvent& event) const;
    // The oldest overdue request `event` can be the late answer of, or -1.
    qsizetype overdueFitting(const MeshEvent& event) const;
    // Forgets the overdue requests up to and including `index`: that one got
    // its late answer, the ones before it will not get theirs any more.
    void dropOverdueThrough(qsizetype index);
    // The request in flight ran out of time: taken off the line, its late
    // answer looked out for from now on.
    PendingRequest expireInFlight();
    // A request still waiting its turn that `event` answers without being
    // written: a report of the radio's state, never an answer tied to a command.
    std::optional<PendingRequest> takeQueuedAnsweredBy(const MeshEvent& event);
    std::optional<Pause> takePause(std::uint64_t id);
};
