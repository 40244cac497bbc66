#pragma once

#include <QByteArray>
#include <QString>
#include <QTest>
#include <exception>
#include <optional>
#include <qcoro/qcorotask.h>

namespace TestSupport {

// Keeps every test away from the user's real files and settings: standard
// paths point into a test folder, and settings go to a throw-away scope.
void isolateFromUserFiles();

// Bytes from hex text with optional spaces, for writing frames in tests.
QByteArray hex(const char* text);

// Starts a coroutine and keeps its outcome for the test to read once it has
// finished (the test moves time forward in between).
template <typename T>
class Outcome {
public:
    bool done = false;
    std::optional<T> value;
    std::exception_ptr error;
};

template <typename T>
QCoro::Task<void> capture(QCoro::Task<T> task, Outcome<T>* outcome) {
    try {
        outcome->value = co_await std::move(task);
    } catch (...) {
        outcome->error = std::current_exception();
    }
    outcome->done = true;
}

struct VoidOutcome {
    bool done = false;
    std::exception_ptr error;
};

QCoro::Task<void> captureVoid(QCoro::Task<void> task, VoidOutcome* outcome);

} // namespace TestSupport
