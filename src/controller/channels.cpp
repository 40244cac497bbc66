// The radio's channel slots as the user fills and clears them.

#include "controller/mesh_controller.h"
#include "controller/qml_outcome.h"
#include "protocol/mesh_protocol.h"

#include <QCryptographicHash>
#include <QRandomGenerator>
#include <algorithm>

using namespace std::chrono_literals;

namespace {

constexpr auto setChannelTimeout = 6s;
constexpr auto channelReadBackTimeout = 3s;

// Free: no name and no secret byte other than zero (a secret that is not
// hex, or empty, counts as none).
bool isFreeSlot(const Channel& channel) {
    if (!channel.name.isEmpty())
        return false;
    const auto secret = MeshProtocol::bytesFromHex(channel.secretHex);
    return !secret || std::all_of(secret->begin(), secret->end(), [](char b) { return b == 0; });
}

bool byIndex(const Channel& a, const Channel& b) {
    return a.index < b.index;
}

} // namespace

std::optional<int> MeshController::firstFreeChannelIndex() const {
    for (int index = 0; index < maxChannels; ++index) {
        const auto slot = std::find_if(m_channels.cbegin(), m_channels.cend(),
                                       [index](const Channel& c) { return c.index == index; });
        if (slot == m_channels.cend() || isFreeSlot(*slot))
            return index;
    }
    return std::nullopt;
}

QCoro::Task<void> MeshController::addChannel(QString name, QByteArray secret) {
    const std::optional<int> free = firstFreeChannelIndex();
    if (!free)
        throw MeshError::device(MeshProtocol::DeviceError::tableFull);
    const int index = *free;

    // The frame builder zero-pads the secret and keeps its first 16 bytes.
    co_await request(MeshProtocol::setChannel(std::uint8_t(index), name, secret),
                     ExpectedResponse::ok, setChannelTimeout);
    if (m_closing || m_transportState != TransportState::connected)
        co_return;

    // The slot as the radio stored it. Without an answer `channels` catches
    // up at the next synchronisation; the add has succeeded all the same.
    std::optional<Channel> stored;
    try {
        const MeshEvent event =
            co_await request(MeshProtocol::getChannel(std::uint8_t(index)),
                             ExpectedResponse::channelInfo, channelReadBackTimeout);
        if (const auto* info = std::get_if<Events::ChannelInfo>(&event))
            stored = info->channelInfo;
    } catch (const MeshError&) {
    }
    if (m_closing || !stored)
        co_return;
    storeChannelReadBack(index, *stored);
}

void MeshController::storeChannelReadBack(int index, const Channel& channel) {
    const auto existing = std::find_if(m_channels.begin(), m_channels.end(),
                                       [index](const Channel& c) { return c.index == index; });
    if (existing != m_channels.end()) {
        if (!(*existing == channel)) {
            *existing = channel;
            Q_EMIT channelChanged(int(existing - m_channels.begin()));
            Q_EMIT channelsChanged();
        }
    } else {
        // `channels` is kept sorted, so the new slot goes where sorting would put it.
        const auto at = std::upper_bound(m_channels.begin(), m_channels.end(), channel, byIndex);
        const auto row = int(at - m_channels.begin());
        m_channels.insert(row, channel);
        Q_EMIT channelInserted(row);
        Q_EMIT channelsChanged();
    }
    // Only a radio that answers for another slot than asked can unsort the list.
    if (!std::is_sorted(m_channels.cbegin(), m_channels.cend(), byIndex)) {
        QList<Channel> sorted = m_channels;
        std::stable_sort(sorted.begin(), sorted.end(), byIndex);
        setChannels(std::move(sorted));
    }

    noteChannelSlot(index,
                    isFreeSlot(channel) ? QString() : NotificationLevels::channelIdentity(channel));
    if (!isFreeSlot(channel))
        ensureConversation(ConversationID::channel(index));
}

QCoro::Task<QString> MeshController::createPrivateChannel(QString name) {
    QByteArray secret(channelSecretLength, '\0');
    for (char& byte : secret)
        byte = static_cast<char>(QRandomGenerator::system()->generate64() & 0xFF);
    co_await addChannel(std::move(name), secret);
    co_return MeshProtocol::hexString(secret);
}

QCoro::Task<void> MeshController::joinPrivateChannel(QString name, QString secretText) {
    const QString digits = cleanedHex(secretText);
    const std::optional<QByteArray> secret = digits.size() == 2 * channelSecretLength
                                                 ? MeshProtocol::bytesFromHex(digits)
                                                 : std::nullopt;
    if (!secret)
        throw MeshError::device(MeshProtocol::DeviceError::illegalArgument);
    co_await addChannel(std::move(name), *secret);
}

QCoro::Task<void> MeshController::joinPublicChannel(QString name) {
    const auto secret = MeshProtocol::bytesFromHex(QString::fromLatin1(publicChannelSecretHex))
                            .value_or(QByteArray());
    co_await addChannel(std::move(name), secret);
}

QCoro::Task<void> MeshController::joinHashtagChannel(QString hashtag) {
    const QString name = hashtagChannelName(hashtag);
    co_await addChannel(name, hashtagChannelSecret(name));
}

QString MeshController::trimmedBlanks(QStringView text) {
    // A pasted no-break or ideographic space would otherwise name another channel.
    const auto blank = [](QChar c) { return c == u'\t' || c.category() == QChar::Separator_Space; };
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && blank(text.at(begin)))
        ++begin;
    while (end > begin && blank(text.at(end - 1)))
        --end;
    return text.sliced(begin, end - begin).toString();
}

QString MeshController::hashtagChannelName(QStringView hashtag) {
    // A line break is no part of a pasted tag's margin and stays.
    const QString tag = trimmedBlanks(hashtag);
    return tag.startsWith(u'#') ? tag : QLatin1Char('#') + tag;
}

QByteArray MeshController::hashtagChannelSecret(const QString& channelName) {
    return channelDigest(channelName.toUtf8()).first(channelSecretLength);
}

QByteArray MeshController::channelDigest(QByteArrayView data) {
    return QCryptographicHash::hash(data, QCryptographicHash::Sha256);
}

QCoro::Task<void> MeshController::removeChannel(int index) {
    if (index < 0 || index >= maxChannels)
        throw MeshError::device(MeshProtocol::DeviceError::illegalArgument);

    // An empty name and an all-zero secret is what a free slot looks like.
    co_await request(MeshProtocol::setChannel(std::uint8_t(index), QString(),
                                              QByteArray(channelSecretLength, '\0')),
                     ExpectedResponse::ok, setChannelTimeout);
    if (m_closing)
        co_return;

    bool removed = false;
    for (qsizetype row = 0; row < m_channels.size();) {
        if (m_channels[row].index != index) {
            ++row;
            continue;
        }
        m_channels.removeAt(row);
        removed = true;
        Q_EMIT channelRemoved(int(row));
    }
    if (removed)
        Q_EMIT channelsChanged();
    noteChannelSlot(index, {});
    dropConversation(ConversationID::channel(index));
    saveConversations();
}

// --- QML entry points

QCoro::QmlTask MeshController::createPrivateChannelQml(const QString& name) {
    return QmlOutcome::of(createPrivateChannel(name));
}

QCoro::QmlTask MeshController::joinPrivateChannelQml(const QString& name,
                                                     const QString& secretText) {
    return QmlOutcome::of(joinPrivateChannel(name, secretText));
}

QCoro::QmlTask MeshController::joinPublicChannelQml(const QString& name) {
    return QmlOutcome::of(joinPublicChannel(name));
}

QCoro::QmlTask MeshController::joinHashtagChannelQml(const QString& hashtag) {
    return QmlOutcome::of(joinHashtagChannel(hashtag));
}

QCoro::QmlTask MeshController::removeChannelQml(int index) {
    return QmlOutcome::of(removeChannel(index));
}
