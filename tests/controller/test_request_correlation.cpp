#include "controller_rig.h"
#include "test_support.h"

#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;
using TestSupport::Outcome;

Q_DECLARE_METATYPE(MeshEvent)
Q_DECLARE_METATYPE(ExpectedResponse)

namespace {

MeshEvent selfInfoEvent(const QString& name) {
    SelfInfo info;
    info.name = name;
    return Events::SelfInfo{info};
}

struct Waiting {
    Outcome<MeshEvent> outcome;
    QCoro::Task<void> task;
};

} // namespace

class TestRequestCorrelation : public QObject {
    Q_OBJECT

private:
    static std::unique_ptr<Waiting> start(MeshController& controller, ExpectedResponse expect,
                                          std::chrono::milliseconds timeout = 5s) {
        auto waiting = std::make_unique<Waiting>();
        waiting->task = TestSupport::capture(
            controller.request(QByteArray("\x16\x03", 2), expect, timeout), &waiting->outcome);
        return waiting;
    }

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    // Which of the waiting requests an event settles, and how.
    void eventGoesToOldestFittingRequest_data() {
        QTest::addColumn<QList<ExpectedResponse>>("waiting");
        QTest::addColumn<MeshEvent>("event");
        QTest::addColumn<int>("settled"); // -1: none
        QTest::addColumn<bool>("failed");

        using R = ExpectedResponse;
        QTest::newRow("selfInfo passes an older ok")
            << QList<R>{R::ok, R::selfInfo} << selfInfoEvent(QStringLiteral("r")) << 1 << false;
        QTest::newRow("one ok answers the older of two")
            << QList<R>{R::ok, R::ok} << MeshEvent(Events::Ok{}) << 0 << false;
        QTest::newRow("error is charged to the oldest whatever it waits for")
            << QList<R>{R::channelInfo, R::ok}
            << MeshEvent(Events::Error{MeshProtocol::DeviceError::notFound}) << 0 << true;
        QTest::newRow("no more messages answers a drain request")
            << QList<R>{R::ok, R::anyMessage} << MeshEvent(Events::NoMoreMessages{}) << 1 << false;
        QTest::newRow("a channel message answers a drain request")
            << QList<R>{R::sent, R::anyMessage} << MeshEvent(Events::ChannelMessage{}) << 1
            << false;
        QTest::newRow("battery does not answer ok")
            << QList<R>{R::ok} << MeshEvent(Events::Battery{}) << -1 << false;
        QTest::newRow("messageSent answers sent, not ok")
            << QList<R>{R::ok, R::sent} << MeshEvent(Events::MessageSent{0, 7, 100}) << 1 << false;
    }
    void eventGoesToOldestFittingRequest() {
        QFETCH(QList<ExpectedResponse>, waiting);
        QFETCH(MeshEvent, event);
        QFETCH(int, settled);
        QFETCH(bool, failed);

        // Declared first so that it outlives the controller, which settles
        // the requests left waiting when it goes.
        std::vector<std::unique_ptr<Waiting>> requests;
        ControllerRig rig;
        rig.connectQuietly();
        for (ExpectedResponse expect : waiting)
            requests.push_back(start(*rig.controller, expect));

        rig.deliver(event);

        for (int i = 0; i < int(requests.size()); ++i) {
            QCOMPARE(requests[i]->outcome.done, i == settled);
            if (i != settled)
                continue;
            if (failed) {
                QCOMPARE(meshErrorOf(requests[i]->outcome),
                         MeshError::device(MeshProtocol::DeviceError::notFound));
            } else {
                QVERIFY(requests[i]->outcome.value);
                QCOMPARE(*requests[i]->outcome.value, event);
            }
        }
    }

    void errorWithNothingWaitingIsForgotten() {
        ControllerRig rig;
        rig.connectQuietly();
        rig.deliver(Events::Error{MeshProtocol::DeviceError::badState});
        auto later = start(*rig.controller, ExpectedResponse::ok);
        QVERIFY(!later->outcome.done);
        rig.deliver(Events::Ok{});
        QVERIFY(later->outcome.value);
    }

    void timeoutsExpireEachRequestOnItsOwn() {
        ControllerRig rig;
        rig.connectQuietly();
        auto short_ = start(*rig.controller, ExpectedResponse::ok, 3s);
        auto long_ = start(*rig.controller, ExpectedResponse::ok, 5s);

        rig.clock.advance(2999ms);
        QVERIFY(!short_->outcome.done);
        rig.clock.advance(1ms);
        QCOMPARE(meshErrorOf(short_->outcome), MeshError::timeout());
        QVERIFY(!long_->outcome.done);

        // A late answer now goes to the one still waiting.
        rig.deliver(Events::Ok{5});
        QVERIFY(long_->outcome.value);
        QCOMPARE(rig.clock.pendingTimers(), 0);
    }

    void timerAfterTheAnswerDoesNothing() {
        ControllerRig rig;
        rig.connectQuietly();
        auto request = start(*rig.controller, ExpectedResponse::ok, 5s);
        rig.clock.advance(1s);
        rig.deliver(Events::Ok{1});
        QCOMPARE(rig.clock.pendingTimers(), 0); // the timer went with the answer
        rig.clock.advance(10s);
        QVERIFY(request->outcome.value);
        QVERIFY(!request->outcome.error);
    }

    void notConnectedFailsAtOnceAndWritesNothing() {
        ControllerRig rig;
        auto request = start(*rig.controller, ExpectedResponse::ok);
        QCOMPARE(meshErrorOf(request->outcome), MeshError::notConnected());
        QVERIFY(rig.link.written.isEmpty());
        QCOMPARE(rig.clock.pendingTimers(), 0);
    }

    // A link may answer from inside write(), before the request suspends.
    void answerFromInsideWrite() {
        ControllerRig rig;
        rig.connectQuietly();
        rig.link.onWrite = [&](const QByteArray&) {
            rig.deliver(selfInfoEvent(QStringLiteral("x")));
        };
        auto request = start(*rig.controller, ExpectedResponse::selfInfo);
        QVERIFY(request->outcome.done);
        QCOMPARE(*request->outcome.value, selfInfoEvent(QStringLiteral("x")));
        QCOMPARE(rig.clock.pendingTimers(), 0);
    }

    void disconnectFailsEveryWaiterAndClearsRadioState() {
        ControllerRig rig;
        rig.connectQuietly();
        rig.deliver(Events::Contact{makeContact(keyOf('a'), QStringLiteral("A"))});
        rig.deliver(Events::Battery{BatteryInfo{3900, {}, {}}});
        rig.controller->setSelectedConversation(ConversationID::contact(keyOf('a')));
        const auto conversations = rig.controller->conversations();
        auto first = start(*rig.controller, ExpectedResponse::ok);
        auto second = start(*rig.controller, ExpectedResponse::endOfContacts);
        QSignalSpy contactsReset(rig.controller.get(), &MeshController::contactsReset);

        rig.link.setState(TransportState::disconnected);

        QCOMPARE(meshErrorOf(first->outcome), MeshError::notConnected());
        QCOMPARE(meshErrorOf(second->outcome), MeshError::notConnected());
        QCOMPARE(rig.clock.pendingTimers(), 0);
        QVERIFY(rig.controller->contacts().isEmpty());
        QCOMPARE(contactsReset.count(), 1);
        QVERIFY(!rig.controller->battery());
        QVERIFY(!rig.controller->selectedConversation());
        QCOMPARE(rig.controller->conversations(), conversations);
        QCOMPARE(rig.controller->transportState(), TransportState::disconnected);
    }

    // Resuming a request may start the next one while the list is being
    // worked on; and destroying the controller mid-flight must leave no
    // coroutine behind (run under the sanitizer).
    void destructionWithWorkInFlight() {
        ControllerRig rig;
        rig.link.becomeUsable(); // handshake waits for app start
        rig.clock.advance(6s);   // ...times out, now in its pause
        rig.controller->sendMessage(QStringLiteral("hi"), ConversationID::channel(1));
        auto request = start(*rig.controller, ExpectedResponse::stats);
        QVERIFY(rig.clock.pendingTimers() >= 3);

        rig.controller.reset();

        QCOMPARE(meshErrorOf(request->outcome), MeshError::notConnected());
        QCOMPARE(rig.clock.pendingTimers(), 0);
        rig.clock.advance(1min); // nothing left to fire
    }
};

QTEST_GUILESS_MAIN(TestRequestCorrelation)
#include "test_request_correlation.moc"
