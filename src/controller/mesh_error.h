#pragma once

#include "model/mesh_enums.h"

#include <QByteArray>
#include <QString>
#include <exception>
#include <optional>

// The error of every asynchronous controller operation: the radio refused the
// command, did not answer in time, there was no radio to ask, or the link
// could not carry the command to it (with the link's own words).
class MeshError : public std::exception {
public:
    enum class Kind { device, timeout, notConnected, link };

    // `code` is absent when the radio sent a code that maps to no known error.
    static MeshError device(std::optional<MeshProtocol::DeviceError> code = std::nullopt) {
        return MeshError(Kind::device, code);
    }
    static MeshError timeout() { return MeshError(Kind::timeout, std::nullopt); }
    static MeshError notConnected() { return MeshError(Kind::notConnected, std::nullopt); }
    static MeshError link(const QString& text) { return MeshError(Kind::link, std::nullopt, text); }

    Kind kind() const { return m_kind; }
    std::optional<MeshProtocol::DeviceError> deviceError() const { return m_deviceError; }

    // The user-facing English text, e.g. "The device did not respond in time."
    QString description() const;
    const char* what() const noexcept override { return m_what.constData(); }

    bool operator==(const MeshError& other) const {
        return m_kind == other.m_kind && m_deviceError == other.m_deviceError &&
               m_linkText == other.m_linkText;
    }

private:
    MeshError(Kind kind, std::optional<MeshProtocol::DeviceError> code, QString linkText = {});

    Kind m_kind;
    std::optional<MeshProtocol::DeviceError> m_deviceError;
    QString m_linkText;
    QByteArray m_what;
};
