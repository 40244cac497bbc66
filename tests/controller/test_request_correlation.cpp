#include "controller_rig.h"
#include "test_support.h"

#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;
using TestSupport::Outcome;

Q_DECLARE_METATYPE(MeshEvent)
Q_DECLARE_METATYPE(ExpectedResponse)
Q_DECLARE_METATYPE(QList<MeshEvent>)

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
                                          std::chrono::milliseconds timeout = 5s,
                                          AnswerCorrection correct = {}) {
        auto waiting = std::make_unique<Waiting>();
        waiting->task = TestSupport::capture(
            controller.request(QByteArray("\x16\x03", 2), expect, timeout, std::move(correct)),
            &waiting->outcome);
        return waiting;
    }

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    // Only the first request is written. An event settles it; one that only
    // reports the radio's state may also settle a request still waiting its
    // turn, which then is never written. An answer tied to its command (ok,
    // error, messageSent) is only ever the written command's.
    void eventGoesToOldestFittingRequest_data() {
        QTest::addColumn<QList<ExpectedResponse>>("waiting");
        QTest::addColumn<MeshEvent>("event");
        QTest::addColumn<int>("settled"); // -1: none
        QTest::addColumn<bool>("failed");
        QTest::addColumn<int>("written"); // frames written once the event is in

        using R = ExpectedResponse;
        QTest::newRow("selfInfo passes an older ok")
            << QList<R>{R::ok, R::selfInfo} << selfInfoEvent(QStringLiteral("r")) << 1 << false
            << 1;
        QTest::newRow("one ok answers the older of two")
            << QList<R>{R::ok, R::ok} << MeshEvent(Events::Ok{}) << 0 << false << 2;
        QTest::newRow("error is charged to the oldest whatever it waits for")
            << QList<R>{R::channelInfo, R::ok}
            << MeshEvent(Events::Error{MeshProtocol::DeviceError::notFound}) << 0 << true << 2;
        QTest::newRow("no more messages answers a drain request in flight")
            << QList<R>{R::anyMessage, R::ok} << MeshEvent(Events::NoMoreMessages{}) << 0 << false
            << 2;
        QTest::newRow("no more messages answers a waiting drain request")
            << QList<R>{R::ok, R::anyMessage} << MeshEvent(Events::NoMoreMessages{}) << 1 << false
            << 1;
        QTest::newRow("a channel message answers a waiting drain request")
            << QList<R>{R::sent, R::anyMessage} << MeshEvent(Events::ChannelMessage{}) << 1 << false
            << 1;
        QTest::newRow("battery does not answer ok")
            << QList<R>{R::ok} << MeshEvent(Events::Battery{}) << -1 << false << 1;
        QTest::newRow("messageSent does not answer ok, nor a sent not yet written")
            << QList<R>{R::ok, R::sent} << MeshEvent(Events::MessageSent{0, 7, 100}) << -1 << false
            << 1;
    }
    void eventGoesToOldestFittingRequest() {
        QFETCH(QList<ExpectedResponse>, waiting);
        QFETCH(MeshEvent, event);
        QFETCH(int, settled);
        QFETCH(bool, failed);
        QFETCH(int, written);

        // Declared first so that it outlives the controller, which settles
        // the requests left waiting when it goes.
        std::vector<std::unique_ptr<Waiting>> requests;
        ControllerRig rig;
        rig.connectQuietly();
        for (ExpectedResponse expect : waiting)
            requests.push_back(start(*rig.controller, expect));
        QCOMPARE(rig.link.written.size(), 1);

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
        QCOMPARE(rig.link.written.size(), written);
        QCOMPARE(rig.controller->pendingRequestCount(), int(waiting.size()) - (settled >= 0));
    }

    // The link could not carry the written frame: its request fails at once
    // with the link's words and the next one goes out. A refusal of some
    // other frame leaves the request in flight alone; so does a frame cut
    // on its way that looks like its answer.
    void linkTroubleDoesNotPassForAnAnswer() {
        ControllerRig rig;
        rig.connectQuietly();
        auto first = start(*rig.controller, ExpectedResponse::selfInfo);
        auto second = start(*rig.controller, ExpectedResponse::ok);
        const QString text = QStringLiteral("A command of 22 bytes does not fit");
        Q_EMIT rig.link.transportWriteFailed(QByteArray("\x0a", 1), text);
        Q_EMIT rig.link.transportReceived(QByteArray("\x05", 1) + QByteArray(19, 'x'));
        QVERIFY(!first->outcome.done);
        Q_EMIT rig.link.transportWriteFailed(rig.link.written.constFirst(), text);
        QCOMPARE(meshErrorOf(first->outcome), MeshError::link(text));
        QCOMPARE(errorTextOf(first->outcome), text);
        QCOMPARE(rig.link.written.size(), 2);
        QVERIFY(!second->outcome.done);
        rig.deliver(Events::Ok{});
        QVERIFY(second->outcome.value);
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

    // A queued request's timer starts when it is written.
    void timeoutsStartWhenWritten() {
        ControllerRig rig;
        rig.connectQuietly();
        auto short_ = start(*rig.controller, ExpectedResponse::ok, 3s);
        auto long_ = start(*rig.controller, ExpectedResponse::selfInfo, 5s);
        QCOMPARE(rig.link.written.size(), 1);

        rig.clock.advance(2999ms);
        QVERIFY(!short_->outcome.done);
        rig.clock.advance(1ms);
        QCOMPARE(meshErrorOf(short_->outcome), MeshError::timeout());
        QCOMPARE(rig.link.written.size(), 2);
        rig.clock.advance(4999ms);
        QVERIFY(!long_->outcome.done);
        rig.clock.advance(1ms);
        QCOMPARE(meshErrorOf(long_->outcome), MeshError::timeout());
        QCOMPARE(rig.clock.pendingTimers(), 0);
    }

    // The radio answers in order, so the late answer of a timed-out command
    // comes before the answer of the one written after it. The next command
    // takes the first answer that fits it, at once; when a second answer
    // tied to its command follows, the first was the late one, and the
    // request is told its own (unless it is the same).
    void lateAnswersAndTheNextCommand_data() {
        QTest::addColumn<ExpectedResponse>("first");
        QTest::addColumn<ExpectedResponse>("second");
        QTest::addColumn<QList<MeshEvent>>("answers"); // after the first timed out
        QTest::addColumn<int>("settledAfter");         // answers it took
        QTest::addColumn<MeshEvent>("outcome");        // an error event: failed with it
        QTest::addColumn<QList<MeshEvent>>("corrected");

        using R = ExpectedResponse;
        using Answers = QList<MeshEvent>;
        const MeshEvent ok1 = Events::Ok{1};
        const MeshEvent ok2 = Events::Ok{2};
        const MeshEvent sentA = Events::MessageSent{0, 0xa, 100};
        const MeshEvent sentB = Events::MessageSent{0, 0xb, 100};
        const MeshEvent error = Events::Error{MeshProtocol::DeviceError::badState};
        const MeshEvent self = selfInfoEvent(QStringLiteral("r"));
        QTest::newRow("late ok, then its own")
            << R::ok << R::ok << Answers{ok1, ok2} << 1 << ok1 << Answers{ok2};
        QTest::newRow("late messageSent, then its own")
            << R::sent << R::sent << Answers{sentA, sentB} << 1 << sentA << Answers{sentB};
        QTest::newRow("late answer lost: the one that came is its own")
            << R::sent << R::sent << Answers{sentB} << 1 << sentB << Answers{};
        QTest::newRow("late answer lost: an error at once")
            << R::ok << R::ok << Answers{error} << 1 << error << Answers{};
        QTest::newRow("late error, then its own ok")
            << R::ok << R::ok << Answers{error, ok2} << 1 << error << Answers{ok2};
        QTest::newRow("two equal oks correct nothing")
            << R::ok << R::ok << Answers{ok1, ok1} << 1 << ok1 << Answers{};
        QTest::newRow("late answer of another kind is dropped")
            << R::ok << R::selfInfo << Answers{ok1, self} << 2 << self << Answers{};
        QTest::newRow("a state answer goes to the one in flight at once")
            << R::selfInfo << R::selfInfo << Answers{self} << 1 << self << Answers{};
    }
    void lateAnswersAndTheNextCommand() {
        QFETCH(ExpectedResponse, first);
        QFETCH(ExpectedResponse, second);
        QFETCH(QList<MeshEvent>, answers);
        QFETCH(int, settledAfter);
        QFETCH(MeshEvent, outcome);
        QFETCH(QList<MeshEvent>, corrected);

        std::unique_ptr<Waiting> a;
        std::unique_ptr<Waiting> b;
        QList<MeshEvent> corrections;
        ControllerRig rig;
        rig.connectQuietly();
        a = start(*rig.controller, first, 5s);
        rig.clock.advance(5s);
        QCOMPARE(meshErrorOf(a->outcome), MeshError::timeout());
        b = start(*rig.controller, second, 5s,
                  [&corrections](const MeshEvent& own) { corrections << own; });

        for (int i = 0; i < answers.size(); ++i) {
            QCOMPARE(b->outcome.done, i >= settledAfter);
            rig.deliver(answers[i]);
        }
        QVERIFY(b->outcome.done);
        if (const auto* error = std::get_if<Events::Error>(&outcome))
            QCOMPARE(meshErrorOf(b->outcome), MeshError::device(error->code));
        else
            QCOMPARE(b->outcome.value, std::optional<MeshEvent>(outcome));
        QCOMPARE(corrections, corrected);
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
        QCOMPARE(rig.controller->pendingRequestCount(), 2); // the message in flight, stats queued
        QVERIFY(rig.clock.pendingTimers() >= 2);            // its timer and the pause

        rig.controller.reset();

        QCOMPARE(meshErrorOf(request->outcome), MeshError::notConnected());
        QCOMPARE(rig.clock.pendingTimers(), 0);
        rig.clock.advance(1min); // nothing left to fire
    }
};

QTEST_GUILESS_MAIN(TestRequestCorrelation)
#include "test_request_correlation.moc"
