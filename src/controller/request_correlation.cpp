// Matching command frames with the events that answer them.

#include "controller/mesh_controller.h"
#include "time/clock.h"
#include "transport/mesh_link.h"

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
                                               std::chrono::milliseconds timeout) {
    if (m_closing || m_transportState != TransportState::connected || !m_link)
        throw MeshError::notConnected();

    PendingRequest record;
    record.id = m_nextWaitId++;
    record.matcher = expect;
    record.continuation = std::make_shared<OneShot<MeshEvent>>();
    const std::uint64_t id = record.id;
    record.timeoutTimer = m_clock->schedule(timeout, [this, id] { expireRequest(id); });
    auto continuation = record.continuation;

    // Listed before the write: a link may answer from inside write().
    m_pending.append(std::move(record));
    m_link->write(frame);

    co_return co_await OneShot<MeshEvent>::Awaiter(std::move(continuation));
}

bool MeshController::resolvePending(const MeshEvent& event) {
    if (m_pending.isEmpty())
        return false;

    qsizetype index = -1;
    std::optional<MeshError> error;
    if (const auto* reply = std::get_if<Events::Error>(&event)) {
        // An error reply names no command: it goes to the oldest one.
        index = 0;
        error = MeshError::device(reply->code);
    } else {
        for (qsizetype i = 0; i < m_pending.size(); ++i) {
            if (matches(m_pending[i].matcher, event)) {
                index = i;
                break;
            }
        }
        if (index < 0)
            return false;
    }

    // Out of the list before resuming: the resumed coroutine may send the next
    // request and change `m_pending`.
    const PendingRequest record = m_pending.takeAt(index);
    m_clock->cancel(record.timeoutTimer);
    if (error)
        record.continuation->fail(*error);
    else
        record.continuation->resolve(event);
    return true;
}

void MeshController::expireRequest(std::uint64_t id) {
    for (qsizetype i = 0; i < m_pending.size(); ++i) {
        if (m_pending[i].id != id)
            continue;
        const PendingRequest record = m_pending.takeAt(i);
        record.continuation->fail(MeshError::timeout());
        return;
    }
}

void MeshController::failAllPending(const MeshError& error) {
    const QList<PendingRequest> taken = std::exchange(m_pending, {});
    for (const PendingRequest& record : taken) {
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
