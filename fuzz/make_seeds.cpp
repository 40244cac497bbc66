// Writes the starting corpora of the fuzz targets: one file per frame kind
// the radio sends, built by the radio-side encoders, and a few history files
// with every optional member and both kinds of conversation.
//   make_seeds <fuzz/corpus>
#include "controller/conversation_journal.h"
#include "controller/conversation_store.h"
#include "sim/radio_frames.h"

#include <QDir>
#include <QFile>
#include <QTimeZone>
#include <QUuid>

using namespace RadioFrames;

namespace {

const QString key =
    QStringLiteral("3f9a1c77be02a4c5d6e7f80112233445566778899aabbccddeeff00112233445");

void write(const QString& dir, const QString& name, const QByteArray& bytes) {
    QDir().mkpath(dir);
    QFile file(dir + QLatin1Char('/') + name);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

QList<std::pair<QString, QByteArray>> frames() {
    const QDateTime at = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);
    SelfInfo self;
    self.advertType = MeshProtocol::AdvertType::chat;
    self.txPower = 20;
    self.maxTxPower = 22;
    self.publicKey = key;
    self.latitude = 60.171162;
    self.longitude = 24.941458;
    self.radioFrequency = 869.525;
    self.radioBandwidth = 250;
    self.radioSpreadingFactor = 11;
    self.radioCodingRate = 5;
    self.name = QStringLiteral("Talvenne Radio");
    DeviceInfo device{7, QStringLiteral("12 Nov 2026"), QStringLiteral("Heltec V3")};
    BatteryInfo battery{4012, 1024, 4096};
    Contact contact;
    contact.publicKey = key;
    contact.type = MeshProtocol::AdvertType::repeaterNode;
    contact.outPathLength = 2;
    contact.outPath = QByteArray("\x12\x34", 2);
    contact.name = QStringLiteral("Ridge Repeater");
    contact.lastAdvert = at;
    contact.latitude = 60.2;
    contact.longitude = 24.6;
    contact.lastModified = at;
    Channel channel{1, QStringLiteral("#lora"), QStringLiteral("0749ea267c6be7b54ca1dbbae7dba0aa")};
    DeviceStats stats;
    return {
        {QStringLiteral("ok"), okFrame()},
        {QStringLiteral("ok-value"), okFrame(42)},
        {QStringLiteral("error"), errorFrame(MeshProtocol::DeviceError::tableFull)},
        {QStringLiteral("error-bare"), errorFrame(std::nullopt)},
        {QStringLiteral("self-info"), selfInfoFrame(self)},
        {QStringLiteral("device-info"), deviceInfoFrame(device)},
        {QStringLiteral("battery"), batteryFrame(battery)},
        {QStringLiteral("battery-short"), batteryFrame(BatteryInfo{3700, {}, {}})},
        {QStringLiteral("current-time"), currentTimeFrame(at)},
        {QStringLiteral("contacts-start"), contactsStartFrame(3)},
        {QStringLiteral("contact"), contactFrame(contact)},
        {QStringLiteral("new-advert"), contactFrame(contact, Code::newAdvert)},
        {QStringLiteral("end-of-contacts"), endOfContactsFrame(1'700'000'000)},
        {QStringLiteral("message-sent"), messageSentFrame(0, 0xdeadbeef, 4200)},
        {QStringLiteral("contact-message"),
         contactMessageFrame(key, 1, 0, at, QStringLiteral("Hei! 👋"), std::nullopt)},
        {QStringLiteral("contact-message-snr"),
         contactMessageFrame(key, 2, 0, at, QStringLiteral("Are you on the hill?"), 7.25)},
        {QStringLiteral("contact-message-signed"),
         contactMessageFrame(key, 0, signedTextType, at, QStringLiteral("signed"), -3.5)},
        {QStringLiteral("channel-message"),
         channelMessageFrame(0, 1, 0, at, QStringLiteral("Alice: morning"), std::nullopt)},
        {QStringLiteral("channel-message-snr"),
         channelMessageFrame(1, 3, 0, at, QStringLiteral("Bob: @[Alice] hi"), 2.5)},
        {QStringLiteral("no-more-messages"), noMoreMessagesFrame()},
        {QStringLiteral("channel-info"), channelInfoFrame(channel)},
        {QStringLiteral("stats-core"), statsFrame(0, stats)},
        {QStringLiteral("stats-radio"), statsFrame(1, stats)},
        {QStringLiteral("stats-packets"), statsFrame(2, stats)},
        {QStringLiteral("advert"), advertFrame(key)},
        {QStringLiteral("path-updated"), pathUpdatedFrame(key)},
        {QStringLiteral("send-confirmed"), sendConfirmedFrame(0xdeadbeef, 900)},
        {QStringLiteral("messages-waiting"), messagesWaitingFrame()},
        {QStringLiteral("login-success"), loginSuccessFrame(key)},
        {QStringLiteral("login-failed"), loginFailedFrame(key)},
        {QStringLiteral("status-response"), statusResponseFrame(key, QByteArray(20, '\x05'))},
    };
}

ChatMessage message(ChatMessage::Direction direction, const QString& text, qint64 seconds) {
    ChatMessage m;
    m.id = QUuid::createUuid();
    m.direction = direction;
    m.text = text;
    m.timestamp = QDateTime::fromMSecsSinceEpoch(seconds * 1000 + 250, Qt::UTC);
    return m;
}

QList<std::pair<QString, QList<Conversation>>> histories() {
    using Direction = ChatMessage::Direction;
    using State = ChatMessage::DeliveryState;
    ChatMessage plain = message(Direction::incoming, QStringLiteral("hello"), 1'700'000'000);
    ChatMessage full = message(Direction::outgoing, QStringLiteral("\"quoted\" \\ / \n tab\t 🦊"),
                               1'700'000'060);
    full.snr = -7.75;
    full.deliveryState = State::delivered;
    full.expectedAck = 0xdeadbeef;
    full.pathLength = 3;
    full.roundTripMillis = 1840;
    full.hopCount = 2;
    full.estimatedTimeoutMillis = 4200;
    ChatMessage failed = message(Direction::outgoing, QStringLiteral("lost"), 1'700'000'120);
    failed.deliveryState = State::failed;
    ChatMessage sending = message(Direction::outgoing, QString(), 1'700'000'180);
    sending.deliveryState = State::sending;
    ChatMessage sent = message(Direction::outgoing, QStringLiteral("x"), 1'700'000'240);
    sent.deliveryState = State::sent;
    sent.estimatedTimeoutMillis = 3000;

    const Conversation empty{ConversationID::channel(0), {}, distantPast(), 0};
    const Conversation direct{
        ConversationID::contact(key), {plain, full, failed, sending, sent}, sent.timestamp, 2};
    const Conversation prefix{ConversationID::contact(key.left(12)), {plain}, plain.timestamp, 1};
    const Conversation channel{ConversationID::channel(7), {plain, full}, full.timestamp, 0};
    return {
        {QStringLiteral("none"), {}},
        {QStringLiteral("empty-channel"), {empty}},
        {QStringLiteral("direct-every-state"), {direct}},
        {QStringLiteral("mixed"), {direct, prefix, channel, empty}},
    };
}

} // namespace

int main(int argc, char* argv[]) {
    const QString root = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("corpus");
    for (const auto& [name, frame] : frames())
        write(root + QStringLiteral("/frame_decoder"), name, frame);
    for (const auto& [name, history] : histories())
        write(root + QStringLiteral("/history_loader"), name + QStringLiteral(".json"),
              encodeConversations(history));
    // Journals continuing an empty history: every kind of record, and a
    // conversation put, merged into and removed again.
    const QList<Conversation> mixed = histories().back().second;
    QByteArray journal = Journal::header("[]");
    for (const Conversation& conversation : mixed)
        journal += Journal::frame({JournalRecord::Kind::put, conversation});
    write(root + QStringLiteral("/journal_replay"), QStringLiteral("puts"), journal);
    journal += Journal::frame({JournalRecord::Kind::merge, mixed.first()});
    journal += Journal::frame({JournalRecord::Kind::remove, mixed.last()});
    write(root + QStringLiteral("/journal_replay"), QStringLiteral("put-merge-remove"), journal);
    return 0;
}
