#include "protocol/mesh_protocol.h"

namespace MeshProtocol {

namespace {

enum Command : std::uint8_t {
    appStartCode = 0x01,
    sendDirectTextCode = 0x02,
    sendChannelTextCode = 0x03,
    getContactsCode = 0x04,
    setDeviceTimeCode = 0x06,
    sendSelfAdvertCode = 0x07,
    setAdvertNameCode = 0x08,
    addOrUpdateContactCode = 0x09,
    syncNextMessageCode = 0x0A,
    setTxPowerCode = 0x0C,
    resetPathCode = 0x0D,
    removeContactCode = 0x0F,
    shareContactCode = 0x10,
    rebootCode = 0x13,
    getBatteryAndStorageCode = 0x14,
    deviceQueryCode = 0x16,
    getChannelCode = 0x1F,
    setChannelCode = 0x20,
    getStatisticsCode = 0x38,
};

constexpr qsizetype publicKeySize = 32;
constexpr qsizetype keyPrefixSize = 6;
constexpr qsizetype nameFieldSize = 32;
constexpr qsizetype channelSecretSize = 16;
constexpr qsizetype outPathSize = 64;
constexpr std::uint8_t textTypePlain = 0;
constexpr std::uint8_t noKnownPath = 0xFF;

class FrameWriter {
public:
    explicit FrameWriter(std::uint8_t code) { byte(code); }

    FrameWriter& byte(std::uint8_t value) {
        m_frame.append(static_cast<char>(value));
        return *this;
    }
    FrameWriter& u32(std::uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8)
            byte(static_cast<std::uint8_t>(value >> shift));
        return *this;
    }
    FrameWriter& bytes(QByteArrayView data) {
        m_frame.append(data);
        return *this;
    }
    FrameWriter& zeros(qsizetype count) {
        m_frame.append(count, '\0');
        return *this;
    }
    // The first `width` bytes of `data`, zero-padded up to `width`.
    FrameWriter& fixed(QByteArrayView data, qsizetype width) {
        const QByteArrayView kept = data.first(qMin(width, data.size()));
        return bytes(kept).zeros(width - kept.size());
    }
    // Fixed-width text may end inside a multi-byte character; the radio
    // stores names by bytes, not by characters.
    FrameWriter& fixedText(const QString& text, qsizetype width) {
        return fixed(text.toUtf8(), width);
    }
    FrameWriter& text(const QString& text) { return bytes(text.toUtf8()); }

    QByteArray frame() const { return m_frame; }

private:
    QByteArray m_frame;
};

QByteArray withByte(Command code, std::uint8_t value) {
    return FrameWriter(code).byte(value).frame();
}

QByteArray withKey(Command code, QByteArrayView publicKey) {
    return FrameWriter(code).bytes(publicKey.first(qMin(publicKeySize, publicKey.size()))).frame();
}

} // namespace

QByteArray appStart(const QString& appName) {
    return FrameWriter(appStartCode).byte(1).zeros(6).text(appName).frame();
}

QByteArray deviceQuery(std::uint8_t version) {
    return withByte(deviceQueryCode, version);
}

QByteArray getContacts() {
    return FrameWriter(getContactsCode).frame();
}

QByteArray setDeviceTime(std::uint32_t secondsSince1970) {
    return FrameWriter(setDeviceTimeCode).u32(secondsSince1970).frame();
}

QByteArray sendSelfAdvert(std::uint8_t kind) {
    return withByte(sendSelfAdvertCode, kind);
}

QByteArray setAdvertName(const QString& name) {
    return FrameWriter(setAdvertNameCode).text(name).frame();
}

QByteArray addOrUpdateContact(QByteArrayView publicKey, AdvertType type, const QString& name,
                              std::uint32_t secondsSince1970) {
    // A contact added by hand has no known path and no position yet; the
    // radio learns both from the node's next advert.
    return FrameWriter(addOrUpdateContactCode)
        .fixed(publicKey, publicKeySize)
        .byte(code(type))
        .byte(0)
        .byte(noKnownPath)
        .zeros(outPathSize)
        .fixedText(name, nameFieldSize)
        .u32(secondsSince1970)
        .u32(0)
        .u32(0)
        .frame();
}

QByteArray syncNextMessage() {
    return FrameWriter(syncNextMessageCode).frame();
}

QByteArray setTxPower(std::uint8_t dBm) {
    return withByte(setTxPowerCode, dBm);
}

QByteArray resetPath(QByteArrayView publicKey) {
    return withKey(resetPathCode, publicKey);
}

QByteArray removeContact(QByteArrayView publicKey) {
    return withKey(removeContactCode, publicKey);
}

QByteArray shareContact(QByteArrayView publicKey) {
    return withKey(shareContactCode, publicKey);
}

QByteArray reboot() {
    // The word guards against a stray byte rebooting the radio.
    return FrameWriter(rebootCode).bytes("reboot").frame();
}

QByteArray getBatteryAndStorage() {
    return FrameWriter(getBatteryAndStorageCode).frame();
}

QByteArray getChannel(std::uint8_t index) {
    return withByte(getChannelCode, index);
}

QByteArray setChannel(std::uint8_t index, const QString& name, QByteArrayView secret) {
    return FrameWriter(setChannelCode)
        .byte(index)
        .fixedText(name, nameFieldSize)
        .fixed(secret, channelSecretSize)
        .frame();
}

QByteArray getStatistics(std::uint8_t group) {
    return withByte(getStatisticsCode, group);
}

QByteArray sendDirectText(QByteArrayView publicKey, std::uint32_t secondsSince1970,
                          const QString& text) {
    // The radio finds the recipient by the key prefix; a short key is padded
    // so the text still starts at its fixed offset.
    return FrameWriter(sendDirectTextCode)
        .byte(textTypePlain)
        .byte(0)
        .u32(secondsSince1970)
        .fixed(publicKey, keyPrefixSize)
        .text(text)
        .frame();
}

QByteArray sendChannelText(std::uint8_t index, std::uint32_t secondsSince1970,
                           const QString& text) {
    return FrameWriter(sendChannelTextCode)
        .byte(textTypePlain)
        .byte(index)
        .u32(secondsSince1970)
        .text(text)
        .frame();
}

QString hexString(QByteArrayView bytes) {
    static constexpr char16_t digits[] = u"0123456789abcdef";
    QString text(bytes.size() * 2, Qt::Uninitialized);
    char16_t* out = reinterpret_cast<char16_t*>(text.data());
    for (const char byte : bytes) {
        const auto value = std::uint8_t(byte);
        *out++ = digits[value >> 4];
        *out++ = digits[value & 0x0f];
    }
    return text;
}

namespace {

int hexDigit(QChar c) {
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9')
        return u - u'0';
    if (u >= u'a' && u <= u'f')
        return u - u'a' + 10;
    if (u >= u'A' && u <= u'F')
        return u - u'A' + 10;
    return -1;
}

// One pair of characters as an unsigned base-16 number. A sign takes the
// place of the first digit: '+' is accepted, '-' only for the value 0.
std::optional<std::uint8_t> hexPair(QChar first, QChar second) {
    const int low = hexDigit(second);
    if (low < 0)
        return std::nullopt;
    if (first == u'+')
        return static_cast<std::uint8_t>(low);
    if (first == u'-')
        return low == 0 ? std::optional<std::uint8_t>(0) : std::nullopt;
    const int high = hexDigit(first);
    if (high < 0)
        return std::nullopt;
    return static_cast<std::uint8_t>(high * 16 + low);
}

} // namespace

std::optional<QByteArray> bytesFromHex(QStringView text) {
    const QStringView trimmed = text.trimmed();
    if (trimmed.size() % 2 != 0)
        return std::nullopt;
    QByteArray bytes;
    bytes.reserve(trimmed.size() / 2);
    for (qsizetype i = 0; i < trimmed.size(); i += 2) {
        const auto value = hexPair(trimmed.at(i), trimmed.at(i + 1));
        if (!value)
            return std::nullopt;
        bytes.append(static_cast<char>(*value));
    }
    return bytes;
}

} // namespace MeshProtocol
