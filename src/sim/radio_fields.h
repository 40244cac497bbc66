// The frames' fixed-width fields and the demo's keys, shared by the simulated radio's files.
#pragma once

#include "sim/radio_frames.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QDateTime>
#include <QString>
#include <cstdint>

namespace RadioFields {

constexpr qsizetype keyLength = 32;
constexpr qsizetype prefixLength = 6;
constexpr qsizetype pathLength = 64;
constexpr qsizetype nameLength = 32;
constexpr qsizetype secretLength = 16;

// Forgiving reads of a command frame: missing bytes read as zero, the way the
// radio's firmware treats short writes.
inline std::uint8_t byteAt(const QByteArray& frame, qsizetype offset) {
    return offset < frame.size() ? static_cast<std::uint8_t>(frame.at(offset)) : 0;
}

inline std::uint32_t u32At(const QByteArray& frame, qsizetype offset) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value |= std::uint32_t(byteAt(frame, offset + i)) << (8 * i);
    return value;
}

inline QByteArray padded(QByteArray bytes, qsizetype width) {
    bytes.truncate(width);
    bytes.append(width - bytes.size(), '\0');
    return bytes;
}

inline QString textOfField(QByteArray field) {
    const qsizetype zero = field.indexOf('\0');
    if (zero >= 0)
        field.truncate(zero);
    return QString::fromUtf8(field);
}

inline QString hexOf(const QByteArray& bytes) {
    return QString::fromLatin1(bytes.toHex());
}

inline QDateTime wholeSeconds(const QDateTime& time) {
    return QDateTime::fromSecsSinceEpoch(RadioFrames::timeField(time), Qt::UTC);
}

// Stable, distinct keys for the demo radio and its nodes.
inline QString demoKey(const QString& seedText) {
    return hexOf(QCryptographicHash::hash(seedText.toUtf8(), QCryptographicHash::Sha256));
}

} // namespace RadioFields
