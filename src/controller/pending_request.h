#pragma once

#include "controller/expected_response.h"
#include "controller/mesh_error.h"
#include "protocol/mesh_event.h"
#include "time/clock.h"

#include <QByteArray>
#include <QDateTime>
#include <chrono>
#include <coroutine>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

// A one-shot hand-over of an outcome to the coroutine that awaits it.
//
// The outcome may arrive before the coroutine suspends (a link can answer a
// write synchronously), so the slot keeps it until it is collected: the
// awaiter is then ready and the coroutine never suspends. When the coroutine
// is already waiting, setting the outcome resumes it right there, on the
// caller's stack. Only the first outcome counts.
template <typename T>
class OneShot {
public:
    bool isSet() const { return m_value.has_value() || m_error.has_value(); }

    void resolve(T value) {
        if (isSet())
            return;
        m_value = std::move(value);
        resumeWaiting();
    }
    void fail(MeshError error) {
        if (isSet())
            return;
        m_error = std::move(error);
        resumeWaiting();
    }

    class Awaiter {
    public:
        explicit Awaiter(std::shared_ptr<OneShot> slot)
            : m_slot(std::move(slot)) {}
        bool await_ready() const noexcept { return m_slot->isSet(); }
        // Only parks the handle: resuming happens later, from whoever settles.
        void await_suspend(std::coroutine_handle<> handle) noexcept { m_slot->m_waiting = handle; }
        T await_resume() {
            if (m_slot->m_error)
                throw *m_slot->m_error;
            return std::move(*m_slot->m_value);
        }

    private:
        std::shared_ptr<OneShot> m_slot;
    };

private:
    void resumeWaiting() {
        if (auto waiting = std::exchange(m_waiting, {}))
            waiting.resume();
    }

    std::optional<T> m_value;
    std::optional<MeshError> m_error;
    std::coroutine_handle<> m_waiting;
};

// Called with a request's own answer when the one it was settled with turns
// out to have been an earlier command's, come late.
using AnswerCorrection = std::function<void(const MeshEvent&)>;

// One command that awaits its answer. It waits its turn in the controller's
// queue, is written when no other command is in flight, and is settled by
// its answer, an error reply, its timer (started when written) or a
// disconnect, whichever comes first.
struct PendingRequest {
    std::uint64_t id = 0;
    ExpectedResponse matcher = ExpectedResponse::ok;
    QByteArray frame;
    std::chrono::milliseconds timeout{0};
    std::shared_ptr<OneShot<MeshEvent>> continuation;
    Clock::TimerId timeoutTimer = 0;
    AnswerCorrection correct; // may be empty
};

// A written command whose timer ran out. The radio answers in order, so its
// late answer may still come, before the answer of anything written after it.
struct OverdueRequest {
    ExpectedResponse matcher = ExpectedResponse::ok;
    QByteArray frame;
};

// A request settled at once with an answer that could also have been an
// overdue command's late one. If it was, this request's own answer is the
// next of its kind to come, and shows it.
struct ProvisionalAnswer {
    ExpectedResponse matcher = ExpectedResponse::ok;
    QByteArray frame;
    MeshEvent answer;
    AnswerCorrection correct;
};

// The outcome of a pause that can be cut short (true when it ran its full length).
struct Pause {
    std::uint64_t id = 0;
    Clock::TimerId timer = 0;
    std::shared_ptr<OneShot<bool>> continuation;
};
