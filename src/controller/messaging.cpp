// Sending, receiving and tracking messages; unread counts, notifications and
// the badge.

#include "controller/conversation_store.h"
#include "controller/mesh_controller.h"
#include "controller/unsettled_messages.h"
#include "notifications/notifier.h"
#include "protocol/mesh_protocol.h"
#include "time/clock.h"

#include <QScopeGuard>
#include <algorithm>
#include <limits>

using namespace std::chrono_literals;

namespace {

constexpr auto sendTimeout = 8s;
// A sender's key prefix: the first 6 bytes of its key as hex.
constexpr qsizetype keyPrefixHexDigits = 12;

// The row of the message with `id`, looked for from the newest back: the
// messages that change are nearly always the latest. -1 when it is missing.
qsizetype rowOf(const MessageList& messages, const QUuid& id) {
    for (qsizetype row = messages.size() - 1; row >= 0; --row) {
        if (messages.at(row).id == id)
            return row;
    }
    return -1;
}

} // namespace

std::optional<SentMessage> OutgoingMessages::takeAcknowledged(std::uint32_t ackCode) {
    const auto found = awaitingAck.constFind(ackCode);
    if (found == awaitingAck.cend())
        return std::nullopt;
    const SentMessage sent = *found;
    awaitingAck.erase(found);
    return sent;
}

void OutgoingMessages::forget(const QUuid& id) {
    awaitingAck.removeIf([&id](const auto& entry) { return entry.value().id == id; });
}

bool OutgoingMessages::sweepDue(const QDateTime& now) {
    if (awaitingAck.isEmpty() || (sweptAt.isValid() && sweptAt.secsTo(now) < 3600))
        return false;
    sweptAt = now;
    return true;
}

void OutgoingMessages::forgetSentBefore(const QDateTime& oldest) {
    awaitingAck.removeIf([&oldest](const auto& entry) { return entry.value().sentAt < oldest; });
}

void MeshController::sendMessage(const QString& text, const ConversationID& target) {
    const QString trimmed = text.trimmed();
    // A message that could not be kept is not sent either.
    if (trimmed.isEmpty() || !m_historyWritable)
        return;

    ChatMessage message;
    message.id = QUuid::createUuid();
    message.direction = ChatMessage::Direction::outgoing;
    message.text = trimmed;
    message.timestamp = m_clock->now();
    message.deliveryState = ChatMessage::DeliveryState::sending;
    appendMessage(message, target);

    transmitMessage(message, target, trimmed); // runs on by itself
}

bool MeshController::sendAgain(const QUuid& id, const ConversationID& target) {
    const QString key = target.conversationKey();
    const auto found = m_conversations.find(key);
    if (found == m_conversations.end())
        return false;
    const qsizetype row = rowOf(found->messages, id);
    if (!m_historyWritable || row < 0)
        return false;
    const ChatMessage& failed = found->messages.at(row);
    if (failed.direction != ChatMessage::Direction::outgoing ||
        failed.deliveryState != ChatMessage::DeliveryState::failed ||
        failed.text.toString().trimmed().isEmpty())
        return false;

    const QString text = failed.text;
    found->messages.removeAt(row);
    Q_EMIT messageRemoved(key, int(row));
    // Appending saves the removal with the new message.
    sendMessage(text, target);
    return true;
}

QCoro::Task<void> MeshController::transmitMessage(ChatMessage message, ConversationID target,
                                                  QString text) {
    using State = ChatMessage::DeliveryState;
    m_outgoing.transmitting.insert(message.id);
    const auto done = qScopeGuard([this, id = message.id] {
        if (!m_closing)
            m_outgoing.transmitting.remove(id);
    });

    if (target.isChannel()) {
        const int index = target.channelIndex();
        // Only an edited history file holds such a slot; the frame has one byte for it.
        if (index < 0 || index > 255) {
            setDeliveryState(message.id, target, State::failed);
            co_return;
        }
        bool accepted = false;
        // Named, not a temporary inside co_await: g++ 12 destroys such a
        // temporary twice.
        AnswerCorrection correct = [this, id = message.id, target](const MeshEvent& own) {
            correctTransmission(id, target, own);
        };
        try {
            co_await request(MeshProtocol::sendChannelText(std::uint8_t(index),
                                                           m_clock->secondsSince1970(), text),
                             ExpectedResponse::ok, sendTimeout, std::move(correct));
            accepted = true;
        } catch (const MeshError&) {
        }
        if (m_closing)
            co_return;
        setDeliveryState(message.id, target, accepted ? State::delivered : State::failed);
        co_return;
    }

    const QString& key = target.contactKey();
    const std::optional<QByteArray> keyBytes = MeshProtocol::bytesFromHex(key);
    if (!keyBytes) {
        setDeliveryState(message.id, target, State::failed);
        co_return;
    }
    if (const auto contact = contactForKey(key); contact && contact->outPathLength >= 0) {
        const int hops = contact->outPathLength;
        updateMessage(message.id, target, [hops](ChatMessage& m) { m.hopCount = hops; });
    }

    std::optional<Events::MessageSent> sent;
    AnswerCorrection correct = [this, id = message.id, target](const MeshEvent& own) {
        correctTransmission(id, target, own);
    };
    try {
        const MeshEvent event = co_await request(
            MeshProtocol::sendDirectText(*keyBytes, m_clock->secondsSince1970(), text),
            ExpectedResponse::sent, sendTimeout, std::move(correct));
        if (const auto* answer = std::get_if<Events::MessageSent>(&event))
            sent = *answer;
    } catch (const MeshError&) {
    }
    if (m_closing)
        co_return;
    if (!sent) {
        setDeliveryState(message.id, target, State::failed);
        co_return;
    }
    forgetStaleAcknowledgements();
    m_outgoing.awaitingAck.insert(sent->expectedAck, {message.id, target, message.timestamp});
    markSent(message.id, target, sent->expectedAck, sent->estimatedTimeoutMillis);
}

// The answer a message was settled with was the late answer of the message
// before it; `own` is its own. A sent message's acknowledgement key is the
// one the radio issued for it, never another message's.
void MeshController::correctTransmission(const QUuid& id, const ConversationID& target,
                                         const MeshEvent& own) {
    using State = ChatMessage::DeliveryState;
    m_outgoing.forget(id);
    if (const auto* sent = std::get_if<Events::MessageSent>(&own); sent && target.isContact()) {
        // A delivery shown meanwhile came for the other message's code.
        QDateTime sentAt = m_clock->now();
        updateMessage(id, target, [sent, &sentAt](ChatMessage& m) {
            m.deliveryState = State::sent;
            m.expectedAck = sent->expectedAck;
            m.estimatedTimeoutMillis = sent->estimatedTimeoutMillis;
            m.roundTripMillis.reset();
            sentAt = m.timestamp;
        });
        m_outgoing.awaitingAck.insert(sent->expectedAck, {id, target, sentAt});
        return;
    }
    const bool accepted = std::holds_alternative<Events::Ok>(own) && target.isChannel();
    updateMessage(id, target, [accepted](ChatMessage& m) {
        m.deliveryState = accepted ? State::delivered : State::failed;
        m.expectedAck.reset();
        m.estimatedTimeoutMillis.reset();
    });
}

// A confirmation more than a day after sending will not come: the look-up
// forgets such messages (and deleted ones), at most once an hour.
void MeshController::forgetStaleAcknowledgements() {
    const QDateTime now = m_clock->now();
    if (!m_outgoing.sweepDue(now))
        return;
    m_outgoing.forgetSentBefore(now.addDays(-1));
}

void MeshController::confirmDelivery(std::uint32_t ackCode, std::uint32_t roundTripMillis) {
    const auto sent = m_outgoing.takeAcknowledged(ackCode);
    // Nothing is marked when the conversation or the message was deleted
    // meanwhile.
    if (sent)
        markDelivered(sent->id, sent->target, roundTripMillis);
}

void MeshController::resumeDeliveryTracking(const UnsettledMessages& unsettled,
                                            const ConversationMap* known) {
    using State = ChatMessage::DeliveryState;
    bool changed = false;
    // The sent messages the reader found, brought up to the lists as they
    // are now (with what came meanwhile); the radio may still confirm them.
    QHash<std::uint32_t, SentMessage> acks = unsettled.awaitedAcks();
    // Only reads, so that the lists stay shared with the writer's copy of
    // the history: a message is changed (its chunk copied) where it fails.
    for (auto it = m_conversations.begin(); it != m_conversations.end(); ++it) {
        const MessageList& messages = std::as_const(*it).messages;
        if (known) {
            const auto was = known->constFind(it.key());
            if (was != known->cend() && was->messages.isSharedWith(messages))
                continue;
        }
        for (const qsizetype row : unsettled.follow(it->target, messages, acks)) {
            // Its transmission ended with the run that stored it (or, read
            // back from another run, with that one).
            if (!m_outgoing.transmitting.contains(messages.at(row).id)) {
                it->messages[row].deliveryState = State::failed;
                changed = true;
            }
        }
    }
    unsettled.forgetGone(acks,
                         [this](const QString& key) { return !m_conversations.contains(key); });
    m_outgoing.awaitingAck = std::move(acks);
    // The store left out the confirmations more than a day old; what came
    // meanwhile is recent, so the next sweep is an hour away.
    m_outgoing.sweptAt = m_clock->now();
    if (changed)
        saveConversations();
}

void MeshController::handleIncomingMessage(const MeshEvent& event) {
    ChatMessage message;
    message.id = QUuid::createUuid();
    message.direction = ChatMessage::Direction::incoming;
    message.deliveryState = ChatMessage::DeliveryState::delivered;

    if (const auto* e = std::get_if<Events::ChannelMessage>(&event)) {
        message.text = e->text;
        message.timestamp = e->timestamp;
        message.snr = e->snr;
        message.pathLength = e->pathLength;
        appendMessage(message, ConversationID::channel(e->channelIndex));
    } else if (const auto* e = std::get_if<Events::ContactMessage>(&event)) {
        message.text = e->text;
        message.timestamp = e->timestamp;
        message.snr = e->snr;
        message.pathLength = e->pathLength;
        // A frame cut inside the sender's prefix names nobody, and nothing
        // of its text arrived: it is dropped rather than filed under a
        // contact that merely starts with the bytes that came.
        if (e->prefix.size() < keyPrefixHexDigits)
            return;
        // A sender missing from the contact list gets a conversation under
        // its key prefix; while the list is being read again, the message
        // waits for it first.
        const auto contact = contactForPrefix(e->prefix);
        if (!contact && m_sync.contactListReads > 0) {
            m_sync.messagesWaitingForContacts.append(event);
            return;
        }
        appendMessage(message, ConversationID::contact(contact ? contact->publicKey : e->prefix));
    }
}

void MeshController::fileWaitingMessages() {
    const QList<MeshEvent> waiting = std::exchange(m_sync.messagesWaitingForContacts, {});
    for (const MeshEvent& event : waiting)
        handleIncomingMessage(event);
}

Conversation MeshController::ensureConversation(const ConversationID& target) {
    const QString key = target.conversationKey();
    if (const auto found = m_conversations.constFind(key); found != m_conversations.cend())
        return *found;
    Conversation conversation;
    conversation.target = target;
    conversation.lastActivity = distantPast();
    m_conversations.insert(key, conversation);
    Q_EMIT conversationAdded(key);
    Q_EMIT conversationsChanged();
    return conversation;
}

void MeshController::appendMessage(const ChatMessage& message, const ConversationID& target) {
    const QString key = target.conversationKey();
    ensureConversation(target);
    // Changed where it is: a copy of the conversation would copy its list of
    // message chunks, and the chunk written to, once more.
    Conversation& conversation = m_conversations[key];
    const QDateTime lastActivity = conversation.lastActivity;
    const qint64 unreadCount = conversation.unreadCount;
    conversation.messages.append(message);
    conversation.lastActivity = message.timestamp;

    const bool viewing = m_applicationActive && m_selectedConversation == target;
    const bool incoming = message.direction == ChatMessage::Direction::incoming;
    const bool unread = incoming && !viewing;
    // A count read from the file may be anything; it stops at the largest.
    if (unread && conversation.unreadCount < std::numeric_limits<qint64>::max())
        ++conversation.unreadCount;
    const bool mentionsMe = unread && this->mentionsMe(message.text);
    if (mentionsMe)
        ++m_unreadMentions[key];

    const bool summaryChanged =
        lastActivity != conversation.lastActivity || unreadCount != conversation.unreadCount;
    Q_EMIT messageAppended(key, int(conversation.messages.size()) - 1);
    if (summaryChanged)
        Q_EMIT conversationChanged(key);
    Q_EMIT conversationsChanged();
    refreshTotalUnreadCount();
    saveConversations();

    if (unread && m_notifier && notifies(m_levels.level(target), mentionsMe))
        m_notifier->postNotification(conversationTitle(target), message.text, key);
    updateBadge();
}

void MeshController::markConversationRead(const ConversationID& target) {
    const QString key = target.conversationKey();
    const auto found = m_conversations.find(key);
    if (found == m_conversations.end() || found->unreadCount <= 0)
        return;
    found->unreadCount = 0;
    m_unreadMentions.remove(key);
    if (m_notifier)
        m_notifier->withdrawNotifications(key);
    Q_EMIT conversationChanged(key);
    Q_EMIT conversationsChanged();
    refreshTotalUnreadCount();
    saveConversations();
    updateBadge();
}

QString MeshController::conversationTitle(const ConversationID& target) const {
    if (target.isContact()) {
        const auto contact = contactForKey(target.contactKey());
        if (contact && !contact->name.isEmpty())
            return contact->name;
        if (const QString known = m_book.knownNames.value(target.contactKey()); !known.isEmpty())
            return known;
        return target.contactKey().left(12);
    }
    if (const auto channel = channelForIndex(target.channelIndex()))
        return channel->displayName();
    return QStringLiteral("Channel ") + QString::number(target.channelIndex());
}

std::optional<Contact> MeshController::contactForPrefix(const QString& prefix) const {
    // Every key starts with a shorter prefix (the empty one included).
    if (prefix.size() < keyPrefixHexDigits)
        return std::nullopt;
    for (const Contact& contact : m_contacts) {
        if (contact.publicKey.startsWith(prefix))
            return contact;
    }
    return std::nullopt;
}

std::optional<Contact> MeshController::contactForKey(const QString& key) const {
    for (const Contact& contact : m_contacts) {
        if (contact.publicKey == key)
            return contact;
    }
    return std::nullopt;
}

std::optional<Channel> MeshController::channelForIndex(int index) const {
    for (const Channel& channel : m_channels) {
        if (channel.index == index)
            return channel;
    }
    return std::nullopt;
}

void MeshController::setDeliveryState(const QUuid& id, const ConversationID& target,
                                      ChatMessage::DeliveryState state) {
    updateMessage(id, target, [state](ChatMessage& m) { m.deliveryState = state; });
}

void MeshController::markSent(const QUuid& id, const ConversationID& target,
                              std::uint32_t expectedAck, std::uint32_t estimatedTimeoutMillis) {
    updateMessage(id, target, [=](ChatMessage& m) {
        m.deliveryState = ChatMessage::DeliveryState::sent;
        m.expectedAck = expectedAck;
        m.estimatedTimeoutMillis = estimatedTimeoutMillis;
    });
}

void MeshController::markDelivered(const QUuid& id, const ConversationID& target,
                                   std::uint32_t roundTripMillis) {
    updateMessage(id, target, [=](ChatMessage& m) {
        m.deliveryState = ChatMessage::DeliveryState::delivered;
        m.roundTripMillis = roundTripMillis;
    });
}

void MeshController::updateMessage(const QUuid& id, const ConversationID& target,
                                   const std::function<void(ChatMessage&)>& change) {
    const QString key = target.conversationKey();
    const auto found = m_conversations.find(key);
    if (found == m_conversations.end())
        return;
    const qsizetype row = rowOf(found->messages, id);
    if (row < 0)
        return;
    ChatMessage changed = found->messages.at(row);
    change(changed);
    if (changed == found->messages.at(row))
        return;
    found->messages[row] = std::move(changed);
    Q_EMIT messageChanged(key, int(row));
    Q_EMIT conversationsChanged();
    saveConversations();
}

void MeshController::saveConversations() {
    // Never a history without what is still being read.
    if (m_store && m_historyLoaded)
        m_store->save(m_conversations.values());
}

void MeshController::refreshTotalUnreadCount() {
    qint64 total = 0;
    for (const Conversation& conversation : std::as_const(m_conversations)) {
        if (conversation.unreadCount > 0 &&
            qAddOverflow(total, qint64(conversation.unreadCount), &total)) {
            total = std::numeric_limits<qint64>::max();
            break;
        }
    }
    assign(m_totalUnreadCount, total, &MeshController::totalUnreadCountChanged);
    refreshBadgeCount();
}

void MeshController::updateBadge() {
    if (m_notifier)
        m_notifier->updateBadge(m_badgeCount);
}
