// Thousands of random operations against a radio that loses a fifth of its
// answers, answers with errors now and then and drops the link, even in the
// middle of the handshake, while the user reconnects at random moments of
// the handshake and of long message drains. Whatever happens: nothing
// crashes, the radio never gets a command before the previous one's answer
// went out, no request waits beyond its timeout, the channels are sorted and
// unique after every handshake, isSyncing is false whenever no handshake
// runs, every outgoing message ends sent, delivered or failed, and the
// history on disk (file and journal, folded now and then) is what is shown.
#include "sim_rig.h"

#include <QRandomGenerator>
#include <QTest>
#include <chrono>
#include <list>
#include <memory>

using namespace std::chrono_literals;
using TestSupport::VoidOutcome;

namespace {

int envInt(const char* name, int fallback) {
    bool ok = false;
    const int value = qEnvironmentVariableIntValue(name, &ok);
    return ok ? value : fallback;
}

struct Soak : SimRig {
    QRandomGenerator random;
    // Every operation's outcome lives until the end: a finished coroutine
    // writes into it, and the rig is torn down before it.
    std::list<VoidOutcome> outcomes;
    int operations = 0;
    int connects = 0;
    int sends = 0;
    int handshakesCut = 0;
    int drainsCut = 0;
    int handshakesEnded = 0;
    // The first invariant seen broken while the run went on.
    QString broken;

    explicit Soak(quint32 seed)
        : SimRig(seed)
        , random(seed) {
        radio.populateDemoNeighbours();
        radio.setDropAnswers(0.2);
        // Small folds, so the run crosses many of them.
        store->setMinimumFoldBytes(4096);
        QObject::connect(controller.get(), &MeshController::isSyncingChanged, [this] {
            if (controller->isSyncing())
                return;
            ++handshakesEnded;
            QList<int> indices;
            for (const Channel& channel : controller->channels())
                indices << channel.index;
            for (qsizetype i = 1; i < indices.size(); ++i) {
                if (indices[i] <= indices[i - 1])
                    fail(QStringLiteral("channels not sorted and unique after a handshake"));
            }
        });
    }
    void fail(const QString& text) {
        if (broken.isEmpty())
            broken = text;
    }
    // Checked after every operation.
    void checkAlways() {
        if (radio.overlappingCommands() > 0)
            fail(QStringLiteral("a command was written while another awaited its answer"));
        if (controller->transportState() != TransportState::connected && controller->isSyncing())
            fail(QStringLiteral("isSyncing without a link"));
    }
    // The outcomes below outlive the controller's last writes into them.
    ~Soak() { controller.reset(); }

    void track(QCoro::Task<void> task) {
        outcomes.emplace_back();
        TestSupport::captureVoid(std::move(task), &outcomes.back());
    }

    std::optional<Contact> anyContact() {
        const QList<Contact> contacts = controller->contacts();
        if (contacts.isEmpty())
            return std::nullopt;
        return contacts.at(int(random.bounded(int(contacts.size()))));
    }

    // Connects when the link is down; one time in eight the link drops again
    // somewhere inside the handshake.
    void reconnect() {
        if (controller->transportState() == TransportState::connected) {
            controller->disconnectFromDevice();
            clock.advance(100ms);
        }
        if (random.bounded(8) == 0)
            radio.dropLinkAfterCommands(1 + int(random.bounded(12)));
        controller->startScan();
        clock.advance(500ms);
        if (!controller->discoveredDevices().isEmpty())
            controller->connectToDevice(controller->discoveredDevices().first());
        ++connects;
    }

    // Connects, and cuts the link at a random moment of the handshake.
    void reconnectDuringHandshake() {
        reconnect();
        clock.advance(std::chrono::milliseconds(600 + random.bounded(4000)));
        if (controller->isSyncing())
            ++handshakesCut;
        checkAlways();
        reconnect();
    }

    // Queues a long run of messages and reconnects at a random moment of
    // their drain.
    void reconnectDuringDrain() {
        const QList<Contact> contacts = controller->contacts();
        const int count = 20 + int(random.bounded(300));
        for (int i = 0; i < count; ++i) {
            const QDateTime at = clock.now().addSecs(-i);
            if (!contacts.isEmpty() && random.bounded(2))
                radio.queueIncomingDirect(contacts.at(i % contacts.size()).publicKey,
                                          QStringLiteral("drain %1").arg(i), at);
            else
                radio.queueIncomingChannel(0, QStringLiteral("drain %1").arg(i), at);
        }
        clock.advance(std::chrono::milliseconds(random.bounded(count * 40)));
        if (radio.queuedMessageCount() > 0)
            ++drainsCut;
        checkAlways();
        reconnect();
    }

    void step() {
        ++operations;
        checkAlways();
        if (random.bounded(10) == 0) {
            const auto error =
                MeshProtocol::deviceErrorFromCode(std::uint8_t(random.bounded(1, 8)));
            radio.failNextAnyCommand(error);
        }
        if (controller->transportState() != TransportState::connected &&
            controller->transportState() != TransportState::connecting) {
            reconnect();
            return;
        }
        switch (random.bounded(14)) {
        case 0:
        case 1:
        case 2:
            if (const auto contact = anyContact()) {
                controller->sendMessage(QStringLiteral("soak %1").arg(operations),
                                        ConversationID::contact(contact->publicKey));
                ++sends;
            }
            break;
        case 3:
            controller->sendMessage(QStringLiteral("channel soak %1").arg(operations),
                                    ConversationID::channel(int(random.bounded(3))));
            ++sends;
            break;
        case 4:
            track(controller->joinHashtagChannel(QStringLiteral("#soak%1").arg(random.bounded(6))));
            break;
        case 5:
            track(controller->removeChannel(1 + int(random.bounded(7))));
            break;
        case 6:
            if (const auto contact = anyContact())
                track(random.bounded(2) ? controller->resetPath(*contact)
                                        : controller->shareContact(*contact));
            break;
        case 7: {
            QString key;
            for (int i = 0; i < 8; ++i)
                key += QStringLiteral("%1").arg(random.generate(), 8, 16, QLatin1Char('0'));
            track(controller->addContact(key, QStringLiteral("Soak %1").arg(operations),
                                         MeshProtocol::AdvertType::chat));
            break;
        }
        case 8:
            if (const auto contact = anyContact(); contact && random.bounded(3) == 0)
                track(controller->removeContact(*contact));
            break;
        case 9:
            track(random.bounded(2) ? controller->refreshBattery()
                                    : controller->refreshDeviceStats());
            break;
        case 10:
            track(random.bounded(2) ? controller->setTxPower(std::uint8_t(random.bounded(23)))
                                    : controller->setDeviceName(QStringLiteral("Soak radio")));
            break;
        case 11:
            reconnect();
            break;
        case 12:
            reconnectDuringHandshake();
            break;
        case 13:
            reconnectDuringDrain();
            break;
        }
        clock.advance(std::chrono::milliseconds(random.bounded(2500)));
    }

    // Lets every timeout run out with no new work.
    void quiesce() {
        for (int i = 0; i < 12; ++i)
            clock.advance(10s);
    }

    QString invariantsBroken() {
        checkAlways();
        if (!broken.isEmpty())
            return broken;
        if (controller->isSyncing())
            return QStringLiteral("isSyncing after every handshake had time to end");
        if (controller->pendingRequestCount() != 0)
            return QStringLiteral("%1 requests still waiting after their timeouts")
                .arg(controller->pendingRequestCount());
        for (const Conversation& conversation : controller->conversations()) {
            for (const ChatMessage& message : conversation.messages) {
                if (message.direction == ChatMessage::Direction::outgoing &&
                    message.deliveryState == ChatMessage::DeliveryState::sending)
                    return QStringLiteral("message \"%1\" is still sending").arg(message.text);
            }
        }
        for (const VoidOutcome& outcome : outcomes) {
            if (!outcome.done)
                return QStringLiteral("an operation never finished");
        }
        const std::optional<QList<Conversation>> saved = savedHistory();
        // An empty conversation made for a new contact or channel reaches
        // the disk with the next save, not at once.
        MeshController::ConversationMap shown = controller->conversations();
        MeshController::ConversationMap onDisk;
        for (const Conversation& conversation : saved.value_or(QList<Conversation>{}))
            onDisk.insert(conversation.target.conversationKey(), conversation);
        shown.removeIf([&](const auto& entry) {
            return entry.value().messages.isEmpty() && !onDisk.contains(entry.key());
        });
        if (onDisk != shown)
            return QStringLiteral("the history on disk (file and journal) is not the one shown");
        return {};
    }
};

} // namespace

class TestFaultSoak : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    void survivesRandomFaults() {
        const int total = envInt("TALVENNE_SOAK_OPERATIONS", 400);
        const quint32 seed = quint32(
            envInt("TALVENNE_SOAK_SEED", int(QRandomGenerator::system()->generate() & 0x7fffffff)));
        qInfo("operations: %d, seed: %u (TALVENNE_SOAK_SEED reproduces the run)", total, seed);
        Soak soak(seed);
        const int checkEvery = 250;
        while (soak.operations < total) {
            soak.step();
            if (soak.operations % checkEvery == 0 || soak.operations == total) {
                soak.quiesce();
                const QString broken = soak.invariantsBroken();
                QVERIFY2(broken.isEmpty(),
                         qPrintable(QStringLiteral("after %1 operations (seed %2): %3")
                                        .arg(soak.operations)
                                        .arg(seed)
                                        .arg(broken)));
            }
        }
        // The run exercised what it claims to.
        QVERIFY(soak.connects > 1);
        QVERIFY(soak.sends > total / 20);
        QVERIFY(soak.handshakesCut > 0);
        QVERIFY(soak.drainsCut > 0);
        int delivered = 0;
        int failed = 0;
        for (const Conversation& conversation : soak.controller->conversations()) {
            for (const ChatMessage& message : conversation.messages) {
                if (message.direction != ChatMessage::Direction::outgoing)
                    continue;
                delivered += message.deliveryState == ChatMessage::DeliveryState::delivered;
                failed += message.deliveryState == ChatMessage::DeliveryState::failed;
            }
        }
        QVERIFY(delivered > 0);
        qInfo("connects: %d, handshakes cut: %d, drains cut: %d, handshakes ended: %d, sends: %d, "
              "delivered: %d, failed: %d",
              soak.connects, soak.handshakesCut, soak.drainsCut, soak.handshakesEnded, soak.sends,
              delivered, failed);
    }
};

QTEST_GUILESS_MAIN(TestFaultSoak)
#include "test_fault_soak.moc"
