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

// The radio answers in order and its answers name no command, so only one
// command that awaits an answer is written at a time.
QCoro::Task<MeshEvent> MeshController::request(QByteArray frame, ExpectedResponse expect,
                                               std::chrono::milliseconds timeout,
                                               AnswerCorrection correct) {
    if (m_closing || m_transportState != TransportState::connected || !m_link)
        throw MeshError::notConnected();

    PendingRequest record;
    record.id = m_requests.nextId++;
    record.matcher = expect;
    record.frame = std::move(frame);
    record.timeout = timeout;
    record.continuation = std::make_shared<OneShot<MeshEvent>>();
    record.correct = std::move(correct);
    auto continuation = record.continuation;
    m_requests.enqueue(std::move(record));
    writeNextRequest();

    co_return co_await OneShot<MeshEvent>::Awaiter(std::move(continuation));
}

void MeshController::writeNextRequest() {
    // A write may be answered from inside write() and settle the request at
    // once; the loop then goes on with the next one.
    while (!m_requests.inFlight && !m_requests.queued.isEmpty() && m_link && m_clock) {
        PendingRequest record = m_requests.queued.takeFirst();
        const std::uint64_t id = record.id;
        record.timeoutTimer = m_clock->schedule(record.timeout, [this, id] { expireRequest(id); });
        const QByteArray frame = record.frame;
        m_requests.inFlight = std::move(record);
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

void RequestQueue::enqueue(PendingRequest record) {
    // Message drains read in the background, and a burst of pushes starts
    // one drain each: anything else goes ahead of their waiting reads.
    const auto firstRead =
        record.matcher == ExpectedResponse::anyMessage
            ? queued.end()
            : std::find_if(queued.begin(), queued.end(), [](const PendingRequest& waiting) {
                  return waiting.matcher == ExpectedResponse::anyMessage;
              });
    queued.insert(firstRead, std::move(record));
}

bool RequestQueue::inFlightFits(const MeshEvent& event) const {
    return inFlight && fits(*inFlight, event);
}

bool RequestQueue::couldBeLateAnswer(const MeshEvent& event) const {
    return tiedToItsCommand(event) &&
           (provisional.isEmpty() ? overdueFitting(event) >= 0
                                  : fits(provisional.constLast(), event));
}

bool RequestQueue::correctsProvisional(const MeshEvent& event) const {
    return tiedToItsCommand(event) && !provisional.isEmpty() &&
           fits(provisional.constLast(), event);
}

qsizetype RequestQueue::overdueFitting(const MeshEvent& event) const {
    for (qsizetype i = 0; i < overdue.size(); ++i) {
        if (fits(overdue[i], event))
            return i;
    }
    return -1;
}

void RequestQueue::dropOverdueThrough(qsizetype index) {
    overdue.remove(0, std::min(index + 1, overdue.size()));
}

PendingRequest RequestQueue::expireInFlight() {
    PendingRequest record = std::move(*inFlight);
    inFlight.reset();
    // Nothing came in all that time: a provisional request's own answer
    // is not on its way.
    provisional.clear();
    if (overdue.size() >= maxOverdue)
        overdue.removeFirst();
    overdue.append({record.matcher, record.frame});
    return record;
}

// A report of the radio's state tells a request still waiting its turn what
// it would have asked; an answer tied to a command cannot be for one that
// was never written.
std::optional<PendingRequest> RequestQueue::takeQueuedAnsweredBy(const MeshEvent& event) {
    if (tiedToItsCommand(event))
        return std::nullopt;
    for (qsizetype i = 0; i < queued.size(); ++i) {
        if (fits(queued[i], event))
            return queued.takeAt(i);
    }
    return std::nullopt;
}

std::optional<Pause> RequestQueue::takePause(std::uint64_t id) {
    for (qsizetype i = 0; i < pauses.size(); ++i) {
        if (pauses[i].id == id)
            return pauses.takeAt(i);
    }
    return std::nullopt;
}

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
    RequestQueue& requests = m_requests;
    if (!requests.provisional.isEmpty() && m_clock && m_clock->now() >= requests.provisionalUntil)
        requests.provisional.clear();

    if (requests.inFlightFits(event)) {
        const bool couldBeLate = requests.couldBeLateAnswer(event);
        requests.overdue.clear();
        if (couldBeLate) {
            const PendingRequest& inFlight = *requests.inFlight;
            requests.provisional.append(
                {inFlight.matcher, inFlight.frame, event, inFlight.correct});
            if (m_clock)
                requests.provisionalUntil = m_clock->now().addMSecs(inFlight.timeout.count());
        } else {
            requests.provisional.clear();
        }
        settleInFlight(event);
        return true;
    }
    if (requests.correctsProvisional(event)) {
        correctProvisionalAnswers(event);
        return true;
    }
    if (const qsizetype overdue = requests.overdueFitting(event); overdue >= 0) {
        // A late answer: applied as any unclaimed event is.
        requests.dropOverdueThrough(overdue);
        return false;
    }
    if (const auto queued = requests.takeQueuedAnsweredBy(event)) {
        queued->continuation->resolve(event);
        return true;
    }
    return false;
}

void MeshController::correctProvisionalAnswers(const MeshEvent& own) {
    const QList<ProvisionalAnswer> provisional = std::exchange(m_requests.provisional, {});
    for (qsizetype i = 0; i < provisional.size(); ++i) {
        const MeshEvent& answer = i + 1 < provisional.size() ? provisional[i + 1].answer : own;
        if (provisional[i].correct && !(answer == provisional[i].answer))
            provisional[i].correct(answer);
    }
}

void MeshController::settleInFlight(const MeshEvent& answer) {
    PendingRequest record = std::move(*m_requests.inFlight);
    m_requests.inFlight.reset();
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
    if (!m_requests.inFlight || m_requests.inFlight->id != id)
        return;
    const PendingRequest record = m_requests.expireInFlight();
    writeNextRequest();
    record.continuation->fail(MeshError::timeout());
}

// The link could not carry a frame: the request that wrote it fails at once,
// with the link's words, instead of running into its timeout.
void MeshController::onTransportWriteFailed(const QByteArray& frame, const QString& text) {
    if (!m_requests.inFlight || m_requests.inFlight->frame != frame)
        return;
    PendingRequest record = std::move(*m_requests.inFlight);
    m_requests.inFlight.reset();
    if (m_clock)
        m_clock->cancel(record.timeoutTimer);
    writeNextRequest();
    record.continuation->fail(MeshError::link(text));
}

void MeshController::failAllPending(const MeshError& error) {
    m_requests.overdue.clear();
    m_requests.provisional.clear();
    QList<PendingRequest> taken = std::exchange(m_requests.queued, {});
    if (auto inFlight = std::exchange(m_requests.inFlight, std::nullopt))
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
    record.id = m_requests.nextId++;
    record.continuation = continuation;
    const std::uint64_t id = record.id;
    record.timer = m_clock->schedule(delay, [this, id] {
        if (const auto ended = m_requests.takePause(id))
            ended->continuation->resolve(true);
    });
    m_requests.pauses.append(std::move(record));
    return OneShot<bool>::Awaiter(std::move(continuation));
}

void MeshController::endAllPauses() {
    const QList<Pause> pauses = std::exchange(m_requests.pauses, {});
    for (const Pause& pause : pauses) {
        if (m_clock)
            m_clock->cancel(pause.timer);
        pause.continuation->resolve(false);
    }
}
