#include "test_support.h"

#include <QCoreApplication>
#include <QSettings>
#include <QStandardPaths>

namespace TestSupport {

void isolateFromUserFiles() {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("TalvenneTests"));
    QCoreApplication::setApplicationName(QStringLiteral("Talvenne"));
    QSettings().clear();
}

QByteArray hex(const char* text) {
    return QByteArray::fromHex(QByteArray(text).replace(' ', QByteArray()));
}

QCoro::Task<void> captureVoid(QCoro::Task<void> task, VoidOutcome* outcome) {
    try {
        co_await std::move(task);
    } catch (...) {
        outcome->error = std::current_exception();
    }
    outcome->done = true;
}

} // namespace TestSupport
