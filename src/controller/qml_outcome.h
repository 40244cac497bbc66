#pragma once

#include "controller/mesh_error.h"

#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <optional>
#include <qcoro/qcorotask.h>
#include <utility>

// What a QML entry point of the controller hands to its then() callback.
//
// QCoro::QmlTask loses an exception silently (the callback is never called),
// so a QML caller could never show why an operation failed. These adapters
// catch the MeshError and resolve with { ok, error[, value] } instead.
namespace QmlOutcome {

inline QVariant result(const std::optional<MeshError>& error, const QVariant& value = {}) {
    QVariantMap map;
    map.insert(QStringLiteral("ok"), !error.has_value());
    map.insert(QStringLiteral("error"), error ? error->description() : QString());
    if (value.isValid())
        map.insert(QStringLiteral("value"), value);
    return map;
}

// The task is taken by value: it runs on after the QML call has returned.
inline QCoro::Task<QVariant> of(QCoro::Task<void> task) {
    std::optional<MeshError> error;
    try {
        co_await std::move(task);
    } catch (const MeshError& e) {
        error = e;
    }
    co_return result(error);
}

inline QCoro::Task<QVariant> of(QCoro::Task<QString> task) {
    std::optional<MeshError> error;
    QString value;
    try {
        value = co_await std::move(task);
    } catch (const MeshError& e) {
        error = e;
    }
    co_return result(error, error ? QVariant() : QVariant(value));
}

// For a call refused before anything started.
inline QCoro::Task<QVariant> failed(MeshError error) {
    co_return result(error);
}

} // namespace QmlOutcome
