// The demo's scripted neighbourhood: its nodes, a contact who replies, the channel's chatter.
#include "sim/radio_fields.h"
#include "sim/radio_frames.h"
#include "sim/simulated_radio.h"

using RadioFields::demoKey;

void SimulatedRadio::populateDemoNeighbours() {
    using MeshProtocol::AdvertType;
    const QDateTime now = m_clock->now();
    struct Neighbour {
        const char* name;
        AdvertType type;
        std::int8_t pathLength;
        double latitude;
        double longitude;
        qint64 advertAgeSeconds;
    };
    // Paths are hop counts; -1 is a node the radio has no route to yet.
    const Neighbour neighbours[] = {
        {"Aino Virtanen", AdvertType::chat, 1, 60.171162, 24.941458, 25 * 60},
        {"Jérôme Bélanger", AdvertType::chat, -1, 0, 0, 3 * 86400 + 4 * 3600},
        {"🦊 Kettu", AdvertType::chat, 2, 60.192059, 24.945831, 7 * 3600},
        {"Harbour Room", AdvertType::room, 0, 60.167409, 24.952117, 40 * 60},
        {"Ridge Repeater", AdvertType::repeaterNode, 0, 60.205490, 24.655899, 15 * 60},
        {"Valley RPT-2", AdvertType::repeaterNode, -1, 0, 0, 2 * 86400},
        {"Weather Mast", AdvertType::sensor, 1, 60.179620, 24.917650, 3 * 3600},
        {"node-7f3a", AdvertType::none, -1, 0, 0, 6 * 86400 + 3600},
    };
    for (const Neighbour& n : neighbours) {
        const QString name = QString::fromUtf8(n.name);
        Contact contact;
        contact.publicKey = demoKey(QStringLiteral("talvenne-demo/") + name);
        contact.type = n.type;
        contact.outPathLength = n.pathLength;
        for (int hop = 0; hop < n.pathLength; ++hop)
            contact.outPath.append(char(0x3c + 0x11 * hop)); // first key byte of each repeater
        contact.name = name;
        contact.latitude = n.latitude;
        contact.longitude = n.longitude;
        contact.lastAdvert = now.addSecs(-n.advertAgeSeconds);
        contact.lastModified = now.addSecs(-n.advertAgeSeconds + 5);
        addContact(contact);
    }
    setAutoReply(demoKey(QStringLiteral("talvenne-demo/Aino Virtanen")), true);
}

void SimulatedRadio::setAutoReply(const QString& publicKey, bool enabled) {
    if (enabled)
        m_autoReplyKeys.insert(publicKey.toLower());
    else
        m_autoReplyKeys.remove(publicKey.toLower());
}

void SimulatedRadio::scheduleReply(const Contact& contact) {
    static const char* const replies[] = {
        "Hei! Got your message 👋",
        "Sounds good, see you at the harbour at six.",
        "Signal's fine here, one hop through the ridge repeater.",
        "Kiitos! I'll tell @[Jérôme Bélanger] too.",
        "Photos from today's walk: https://example.org/aino/walk",
    };
    const QString text = QString::fromUtf8(replies[m_replyCount++ % std::size(replies)]);
    const QString key = contact.publicKey;
    // The reply crosses the mesh after our message was acknowledged.
    after(m_latency + m_ackDelay + m_replyDelay,
          [this, key, text] { queueIncomingDirect(key, text, deviceTime()); });
}

void SimulatedRadio::startChannelChatter(bool enabled) {
    if (!enabled) {
        cancelTimer(m_chatterTimer);
        return;
    }
    if (m_chatterTimer == 0)
        scheduleChatter();
}

void SimulatedRadio::scheduleChatter() {
    const auto delay = std::chrono::milliseconds(20'000 + m_random.bounded(20'001));
    m_chatterTimer = after(delay, [this] {
        m_chatterTimer = 0;
        chatterOnce();
        scheduleChatter();
    });
}

void SimulatedRadio::chatterOnce() {
    static const char* const senders[] = {"Aino Virtanen", "Mikko", "Jérôme Bélanger", "🦊 Kettu",
                                          "Sanna K"};
    static const char* const lines[] = {
        "Anyone near the harbour? Testing range.",
        "Ridge repeater is back up after the storm.",
        "Good signal tonight, SNR +9 from the island.",
        "Map of the new nodes: https://example.org/mesh/map",
        "Meetup on Saturday at the library, 14:00.",
        "Has anyone tried SF 10 on this frequency?",
    };
    const QString sender = QString::fromUtf8(senders[m_random.bounded(int(std::size(senders)))]);
    QString text = QString::fromUtf8(lines[m_random.bounded(int(std::size(lines)))]);
    if (++m_chatterCount % 4 == 0)
        text = QStringLiteral("@[%1] are you on tonight?").arg(m_self.name);
    const double snr = m_random.bounded(-20, 49) / 4.0;
    queueIncomingChannel(0, sender + QStringLiteral(": ") + text, deviceTime(), snr);

    // Now and then a node appears that the radio has not heard before.
    if (m_chatterCount % 5 == 0 && m_contacts.size() < m_contactLimit) {
        Contact node;
        node.publicKey = demoKey(QStringLiteral("talvenne-demo/hiker-%1").arg(m_chatterCount));
        node.type = MeshProtocol::AdvertType::chat;
        node.name = QStringLiteral("Hiker %1").arg(m_chatterCount / 5);
        node.lastAdvert = deviceTime();
        addContact(node);
        send({RadioFrames::contactFrame(m_contacts.constLast(), RadioFrames::Code::newAdvert)});
    }
}
