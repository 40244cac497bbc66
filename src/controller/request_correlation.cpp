// Matching command frames with the events that answer them.

#include "controller/mesh_controller.h"
#include "time/clock.h"
#include "transport/mesh_link.h"

#include <algorithm>

bool matches(ExpectedResponse expect, const MeshEvent& event) {
    switch (expect) {
    case ExpectedResponse::ok:
        return std::holds_alternative<Events::Ok>(event);
    case ExpectedResponse::selfInfo:
        return std::holds_alternative<Events::SelfInfo>(event);
    case ExpectedResponse::deviceInfo:
        return std::holds_alternative<Events::DeviceInfo>(event);
    case ExpectedResponse::batteryVoltage:
        return std::holds_alternative<Events::Battery>(event);
    case ExpectedResponse::endOfContacts:
        return std::holds_alternative<Events::EndOfContacts>(event);
    case ExpectedResponse::channelInfo:
        return std::holds_alternative<Events::ChannelInfo>(event);
    case ExpectedResponse::sent:
        return std::holds_alternative<Events::MessageSent>(event);
    case ExpectedResponse::stats:
        return std::holds_alternative<Events::Stats>(event);
    case ExpectedResponse::anyMessage:
        return std::holds_alternative<Events::ContactMessage>(event) ||
               std::holds_alternative<Events::ChannelMessage>(event) ||
               std::holds_alternative<Events::NoMoreMessages>(event);
    }
    return false;
}

QCoro::Task<MeshEvent> MeshController::request(QByteArray frame, ExpectedResponse expect,
                                               std::chrono::milliseconds timeout,
                                               AnswerCorrection correct) {
    if (m_closing || m_transportState != TransportState::connected || !m_link)
        throw MeshError::notConnected();

    PendingRequest record;
    record.id = m_nextWaitId++;
    record.matcher = expect;
    record.frame = std::move(frame);
    record.timeout = timeout;
    record.continuation = std::make_shared<OneShot<MeshEvent>>();
    record.correct = std::move(correct);
    auto continuation = record.continuation;

    // Message drains read in the background, and a burst of pushes starts
    // one drain each: anything else goes ahead of their waiting reads, so a
    // long drain never holds up a message the user sends.
    const auto firstRead =
        expect == ExpectedResponse::anyMessage
            ? m_queued.end()
            : std::find_if(m_queued.begin(), m_queued.end(), [](const PendingRequest& queued) {
                  return queued.matcher == ExpectedResponse::anyMessage;
              });
    m_queued.insert(firstRead, std::move(record));
    writeNextRequest();

    co_return co_await OneShot<MeshEvent>::Awaiter(std::move(continuation));
}

void MeshController::writeNextRequest() {
    // A write may be answered from inside write() and settle the request at
    // once; the loop then goes on with the next one.
    while (!m_inFlight && !m_queued.isEmpty() && m_link && m_clock) {
        PendingRequest record = m_queued.takeFirst();
        const std::uint64_t id = record.id;
        record.timeoutTimer = m_clock->schedule(record.timeout, [this, id] { expireRequest(id); });
        const QByteArray frame = record.frame;
        m_inFlight = std::move(record);
        m_link->write(frame);
    }
}

namespace {

// Whether `event`, of the kind `matcher` accepts, can be the answer to
// `frame`: a channel read is answered with the slot it asked for.
bool answersFrame(const QByteArray& frame, const MeshEvent& event) {
    if (const auto* info = std::get_if<Events::ChannelInfo>(&event))
        return frame.size() >= 2 && info->channelInfo.index == std::uint8_t(frame.at(1));
    return true;
}

template <typename Record>
bool fits(const Record& record, const MeshEvent& event) {
    // An error reply names no command: it answers whichever is first in line.
    if (std::holds_alternative<Events::Error>(event))
        return true;
    return matches(record.matcher, event) && answersFrame(record.frame, event);
}

// Whether the answer means something only for the command it answers: an
// ok, an error, or the acknowledgement code of a sent message. Any other
// answer reports the radio's state and is as true for one asker as another.
bool tiedToItsCommand(const MeshEvent& event) {
    return std::holds_alternative<Events::Ok>(event) ||
           std::holds_alternative<Events::Error>(event) ||
           std::holds_alternative<Events::MessageSent>(event);
}

// Timed-out commands whose late answers are still looked out for; more in a
// row than this means a radio that has stopped answering.
constexpr qsizetype maxOverdue = 8;

} // namespace

// The radio answers in the order it got the commands, so the late answer of
// a timed-out command comes before the answer of the one written after it.
// An answer is the request in flight's when it fits it: a report of the
// radio's state is as true for either, and one tied to its command (ok,
// error, sent) that could also be an overdue command's late answer is taken
// at once all the same, provisionally. Only when a second such answer follows
// is the first known to have been the late one: each provisional request
// then gets the answer after its own. Any other answer that fits the request
// in flight shows that the overdue answers were lost.
bool MeshController::resolvePending(const MeshEvent& event) {
    if (!m_provisional.isEmpty() && m_clock && m_clock->now() >= m_provisionalUntil)
        m_provisional.clear();
    const bool tied = tiedToItsCommand(event);
    const auto overdueFitting = [this, &event] {
        for (qsizetype i = 0; i < m_overdue.size(); ++i) {
            if (fits(m_overdue[i], event))
                return i;
        }
        return qsizetype(-1);
    };

    if (m_inFlight && fits(*m_inFlight, event)) {
        const bool couldBeLate =
            tied && (m_provisional.isEmpty() ? overdueFitting() >= 0
                                             : fits(m_provisional.constLast(), event));
        m_overdue.clear();
        if (couldBeLate) {
            m_provisional.append(
                {m_inFlight->matcher, m_inFlight->frame, event, m_inFlight->correct});
            if (m_clock)
                m_provisionalUntil = m_clock->now().addMSecs(m_inFlight->timeout.count());
        } else {
            m_provisional.clear();
        }
        settleInFlight(event);
        return true;
    }
    if (tied && !m_provisional.isEmpty() && fits(m_provisional.constLast(), event)) {
        correctProvisionalAnswers(event);
        return true;
    }
    if (const qsizetype overdue = overdueFitting(); overdue >= 0) {
        // A late answer: applied as any unclaimed event is.
        dropOverdueThrough(overdue);
        return false;
    }
    return settleQueued(event);
}

void MeshController::correctProvisionalAnswers(const MeshEvent& own) {
    const QList<ProvisionalAnswer> provisional = std::exchange(m_provisional, {});
    for (qsizetype i = 0; i < provisional.size(); ++i) {
        const MeshEvent& answer = i + 1 < provisional.size() ? provisional[i + 1].answer : own;
        if (provisional[i].correct && !(answer == provisional[i].answer))
            provisional[i].correct(answer);
    }
}

// A report of the radio's state tells a request still waiting its turn what
// it would have asked; it is settled and never written. An answer tied to a
// command cannot be for one that was never written.
bool MeshController::settleQueued(const MeshEvent& event) {
    if (tiedToItsCommand(event))
        return false;
    for (qsizetype i = 0; i < m_queued.size(); ++i) {
        if (!fits(m_queued[i], event))
            continue;
        const PendingRequest record = m_queued.takeAt(i);
        record.continuation->resolve(event);
        return true;
    }
    return false;
}

void MeshController::settleInFlight(const MeshEvent& answer) {
    PendingRequest record = std::move(*m_inFlight);
    m_inFlight.reset();
    if (m_clock)
        m_clock->cancel(record.timeoutTimer);
    // The next command goes out before the settled one's caller runs on, so
    // a caller that asks again (a drain) queues behind those already waiting.
    writeNextRequest();
    if (const auto* reply = std::get_if<Events::Error>(&answer))
        record.continuation->fail(MeshError::device(reply->code));
    else
        record.continuation->resolve(answer);
}

void MeshController::expireRequest(std::uint64_t id) {
    if (!m_inFlight || m_inFlight->id != id)
        return;
    PendingRequest record = std::move(*m_inFlight);
    m_inFlight.reset();
    // Nothing came in all that time: a provisional request's own answer
    // is not on its way.
    m_provisional.clear();
    if (m_overdue.size() >= maxOverdue)
        m_overdue.removeFirst();
    m_overdue.append({record.matcher, record.frame});
    writeNextRequest();
    record.continuation->fail(MeshError::timeout());
}

// The link could not carry a frame: the request that wrote it fails at once,
// with the link's words, instead of running into its timeout.
void MeshController::onTransportWriteFailed(const QByteArray& frame, const QString& text) {
    if (!m_inFlight || m_inFlight->frame != frame)
        return;
    PendingRequest record = std::move(*m_inFlight);
    m_inFlight.reset();
    if (m_clock)
        m_clock->cancel(record.timeoutTimer);
    writeNextRequest();
    record.continuation->fail(MeshError::link(text));
}

void MeshController::dropOverdueThrough(qsizetype index) {
    m_overdue.remove(0, std::min(index + 1, m_overdue.size()));
}

void MeshController::failAllPending(const MeshError& error) {
    m_overdue.clear();
    m_provisional.clear();
    QList<PendingRequest> taken = std::exchange(m_queued, {});
    if (auto inFlight = std::exchange(m_inFlight, std::nullopt))
        taken.prepend(std::move(*inFlight));
    for (const PendingRequest& record : std::as_const(taken)) {
        if (m_clock)
            m_clock->cancel(record.timeoutTimer);
        record.continuation->fail(error);
    }
}

OneShot<bool>::Awaiter MeshController::pause(std::chrono::milliseconds delay) {
    auto continuation = std::make_shared<OneShot<bool>>();
    if (m_closing || !m_clock) {
        continuation->resolve(false);
        return OneShot<bool>::Awaiter(std::move(continuation));
    }
    Pause record;
    record.id = m_nextWaitId++;
    record.continuation = continuation;
    const std::uint64_t id = record.id;
    record.timer = m_clock->schedule(delay, [this, id] { endPause(id, true); });
    m_pauses.append(std::move(record));
    return OneShot<bool>::Awaiter(std::move(continuation));
}

void MeshController::endPause(std::uint64_t id, bool completed) {
    for (qsizetype i = 0; i < m_pauses.size(); ++i) {
        if (m_pauses[i].id != id)
            continue;
        const Pause record = m_pauses.takeAt(i);
        record.continuation->resolve(completed);
        return;
    }
}

void MeshController::endAllPauses() {
    const QList<Pause> pauses = std::exchange(m_pauses, {});
    for (const Pause& pause : pauses) {
        if (m_clock)
            m_clock->cancel(pause.timer);
        pause.continuation->resolve(false);
    }
}
