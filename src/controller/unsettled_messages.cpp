#include "controller/unsettled_messages.h"

#include <algorithm>
#include <iterator>

bool UnsettledMessages::isSending(const ChatMessage& message) {
    return message.deliveryState == ChatMessage::DeliveryState::sending;
}

bool UnsettledMessages::isAwaitingAck(const ChatMessage& message) {
    return message.deliveryState == ChatMessage::DeliveryState::sent &&
           message.expectedAck.has_value();
}

void UnsettledMessages::note(const ConversationID& target, const MessageList& messages,
                             QList<qsizetype> sending, QList<qsizetype> awaiting) {
    m_noted.insert(target.conversationKey(),
                   Noted{target, messages, std::move(sending), std::move(awaiting)});
}

QList<qsizetype> UnsettledMessages::sendingRows(const QString& key) const {
    return m_noted.value(key).sending;
}

QList<qsizetype> UnsettledMessages::awaitingRows(const QString& key) const {
    return m_noted.value(key).awaiting;
}

void UnsettledMessages::appendRows(const QList<qsizetype>& rows, qsizetype first, qsizetype end,
                                   QList<qsizetype>& out) {
    const auto from = std::lower_bound(rows.cbegin(), rows.cend(), first);
    std::copy(from, std::lower_bound(from, rows.cend(), end), std::back_inserter(out));
}

void UnsettledMessages::forgetRows(const Noted& noted, qsizetype first, qsizetype end,
                                   QHash<std::uint32_t, SentMessage>& acks) {
    QList<qsizetype> rows;
    appendRows(noted.awaiting, first, end, rows);
    for (const qsizetype row : std::as_const(rows)) {
        const ChatMessage& message = noted.messages.at(row);
        // Unless another message has taken the code since.
        const auto found = acks.constFind(*message.expectedAck);
        if (found != acks.cend() && found->id == message.id)
            acks.remove(*message.expectedAck);
    }
}

UnsettledMessages::Noted UnsettledMessages::follow(const ConversationID& target,
                                                   const MessageList& messages,
                                                   QHash<std::uint32_t, SentMessage>* acks) const {
    const auto found = m_noted.constFind(target.conversationKey());
    const Noted* noted = found == m_noted.cend() ? nullptr : &*found;
    Noted out{target, messages, {}, {}};
    if (noted && noted->messages.isSharedWith(messages)) {
        out.sending = noted->sending;
        out.awaiting = noted->awaiting;
        return out;
    }
    constexpr qsizetype chunk = MessageList::chunkSize;
    const qsizetype size = std::max(messages.size(), noted ? noted->messages.size() : 0);
    QList<qsizetype> changed; // the first rows of the chunks no longer shared
    for (qsizetype first = 0; first < size; first += chunk) {
        if (noted && first < messages.size() && messages.sharesChunkAt(noted->messages, first)) {
            appendRows(noted->sending, first, first + chunk, out.sending);
            appendRows(noted->awaiting, first, first + chunk, out.awaiting);
        } else {
            changed.append(first);
        }
    }
    // All let go of before any is taken again: a message may have moved to
    // another chunk.
    if (noted && acks) {
        for (const qsizetype first : std::as_const(changed))
            forgetRows(*noted, first, first + chunk, *acks);
    }
    for (const qsizetype first : std::as_const(changed)) {
        for (qsizetype row = first; row < std::min(first + chunk, messages.size()); ++row) {
            const ChatMessage& message = messages.at(row);
            if (isSending(message)) {
                out.sending.append(row);
            } else if (isAwaitingAck(message)) {
                out.awaiting.append(row);
                if (acks)
                    acks->insert(*message.expectedAck, {message.id, target, message.timestamp});
            }
        }
    }
    // Rows of shared chunks and of looked-through ones, in order.
    std::sort(out.sending.begin(), out.sending.end());
    std::sort(out.awaiting.begin(), out.awaiting.end());
    return out;
}

QList<qsizetype> UnsettledMessages::follow(const ConversationID& target,
                                           const MessageList& messages,
                                           QHash<std::uint32_t, SentMessage>& acks) const {
    return follow(target, messages, &acks).sending;
}

UnsettledMessages UnsettledMessages::in(const QList<Conversation>& history,
                                        const QDateTime& sentSince) const {
    UnsettledMessages out;
    out.m_noted.reserve(history.size());
    qsizetype awaiting = 0;
    for (const Conversation& conversation : history) {
        Noted noted = follow(conversation.target, conversation.messages, nullptr);
        awaiting += noted.awaiting.size();
        out.m_noted.insert(conversation.target.conversationKey(), std::move(noted));
    }
    out.m_acks.reserve(awaiting);
    for (const Conversation& conversation : history) {
        const Noted& noted = *out.m_noted.constFind(conversation.target.conversationKey());
        for (const qsizetype row : noted.awaiting) {
            const ChatMessage& message = noted.messages.at(row);
            if (sentSince.isValid() && message.timestamp < sentSince)
                continue;
            out.m_acks.insert(*message.expectedAck, {message.id, noted.target, message.timestamp});
        }
    }
    return out;
}
