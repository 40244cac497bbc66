#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QString>
#include <cstdint>

namespace MeshProtocol {

// Forgiving reads over one received frame. Nothing here fails: reading past
// the end yields zeros, shorter byte runs and shorter texts, because the radio
// sends shorter frames in older firmware and the decoder must take whatever
// arrives.
class FrameReader {
public:
    // The cursor starts after the code byte. The reader only looks at
    // `frame`, which must outlive it; what it returns owns its bytes.
    explicit FrameReader(QByteArrayView frame)
        : m_frame(frame)
        , m_position(m_frame.isEmpty() ? 0 : 1) {}

    qsizetype remaining() const { return m_frame.size() - m_position; }

    std::uint8_t byte() {
        if (m_position >= m_frame.size())
            return 0;
        return static_cast<std::uint8_t>(m_frame.at(m_position++));
    }
    std::int8_t signedByte() { return static_cast<std::int8_t>(byte()); }

    std::uint16_t u16() {
        const std::uint16_t low = byte();
        const std::uint16_t high = byte();
        return static_cast<std::uint16_t>(low | (high << 8));
    }
    std::int16_t i16() { return static_cast<std::int16_t>(u16()); }

    std::uint32_t u32() {
        std::uint32_t value = 0;
        for (int shift = 0; shift < 32; shift += 8)
            value |= std::uint32_t(byte()) << shift;
        return value;
    }
    std::int32_t i32() { return static_cast<std::int32_t>(u32()); }

    QByteArrayView view(qsizetype count) {
        const qsizetype taken = qBound<qsizetype>(0, count, remaining());
        const QByteArrayView result = m_frame.sliced(m_position, taken);
        m_position += taken;
        return result;
    }
    QByteArray bytes(qsizetype count) { return view(count).toByteArray(); }
    QByteArray rest() { return bytes(remaining()); }
    void skip(qsizetype count) { m_position += qBound<qsizetype>(0, count, remaining()); }

    QString fixedText(qsizetype width) {
        QByteArrayView field = view(width);
        const qsizetype zero = field.indexOf('\0');
        if (zero >= 0)
            field.truncate(zero);
        return QString::fromUtf8(field);
    }
    QString tailText() { return QString::fromUtf8(view(remaining())); }

    QString hex(qsizetype count);

    QDateTime timestamp() { return QDateTime::fromSecsSinceEpoch(u32(), Qt::UTC); }

private:
    QByteArrayView m_frame;
    qsizetype m_position;
};

} // namespace MeshProtocol
