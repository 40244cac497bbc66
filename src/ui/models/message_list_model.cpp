#include "message_list_model.h"

#include "conversation_key.h"
#include "logic/channel_sender.h"
#include "logic/contrast.h"
#include "logic/delivery_report.h"
#include "logic/first_unread.h"
#include "logic/safe_text.h"
#include "logic/spoken_text.h"
#include "look.h"
#include "text/mentions.h"
#include "text/text_segments.h"

#include <QUrl>
#include <QVariantMap>

namespace {

QString coloured(const QString& escaped, const QColor& color, bool underline, bool bold = false) {
    return QStringLiteral("<span style=\"color:%1;%2%3\">%4</span>")
        .arg(color.name(), underline ? QStringLiteral("text-decoration:underline;") : QString(),
             bold ? QStringLiteral("font-weight:bold;") : QString(), escaped);
}

} // namespace

MessageListModel::MessageListModel(QObject* parent)
    : ControllerBoundListModel(parent) {}

void MessageListModel::attach(MeshController* controller) {
    if (controller) {
        connect(controller, &MeshController::messageAppended, this,
                &MessageListModel::onMessageAppended);
        connect(controller, &MeshController::messageChanged, this,
                &MessageListModel::onMessageChanged);
        connect(controller, &MeshController::messageRemoved, this,
                &MessageListModel::onMessageRemoved);
        connect(controller, &MeshController::conversationAdded, this,
                &MessageListModel::onConversationAddedOrRemoved);
        connect(controller, &MeshController::conversationRemoved, this,
                &MessageListModel::onConversationAddedOrRemoved);
        connect(controller, &MeshController::conversationsReset, this, &MessageListModel::reload);
        connect(controller, &MeshController::ownNameChanged, this, [this] {
            if (m_count > 0)
                Q_EMIT dataChanged(index(0), index(m_count - 1), {RichTextRole});
        });
    }
    reload();
}

void MessageListModel::setConversationKey(const QString& key) {
    if (m_key == key)
        return;
    m_key = key;
    m_target = conversationIDFromKey(key);
    // Before anything marks the conversation read.
    noteFirstUnread();
    reload();
    Q_EMIT firstUnreadChanged();
    Q_EMIT conversationKeyChanged();
}

void MessageListModel::noteFirstUnread() {
    const auto it = controller() ? controller()->conversations().constFind(m_key)
                                 : MeshController::ConversationMap::const_iterator();
    ViewLogic::FirstUnread first;
    if (controller() && it != controller()->conversations().cend())
        first = ViewLogic::firstUnread(it->messages, it->unreadCount);
    m_firstUnreadId =
        first.row < 0 ? QString() : it->messages.at(first.row).id.toString(QUuid::WithoutBraces);
    m_unreadAtOpen = first.count;
    // Opened while the history is read: its unread messages come with it.
    m_unreadAwaitsHistory = controller() && !controller()->historyLoaded();
}

QString MessageListModel::dividerText() const {
    return m_firstUnreadId.isEmpty() ? QString() : ViewLogic::newMessagesText(m_unreadAtOpen);
}

void MessageListModel::setIncomingMentionColor(const QColor& color) {
    if (m_mentionColor == color)
        return;
    m_mentionColor = color;
    if (m_count > 0)
        Q_EMIT dataChanged(index(0), index(m_count - 1), {RichTextRole});
    Q_EMIT incomingColorsChanged();
}

void MessageListModel::setIncomingBubbleColor(const QColor& color) {
    if (m_bubbleColor == color)
        return;
    m_bubbleColor = color;
    if (m_count > 0)
        Q_EMIT dataChanged(index(0), index(m_count - 1), {SenderColorRole});
    Q_EMIT incomingColorsChanged();
}

void MessageListModel::setIncomingLinkColor(const QColor& color) {
    if (m_linkColor == color)
        return;
    m_linkColor = color;
    if (m_count > 0)
        Q_EMIT dataChanged(index(0), index(m_count - 1), {RichTextRole});
    Q_EMIT incomingColorsChanged();
}

int MessageListModel::storedCount() const {
    if (!controller())
        return 0;
    const auto it = controller()->conversations().constFind(m_key);
    return it == controller()->conversations().cend() ? 0 : int(it->messages.size());
}

const ChatMessage* MessageListModel::messageAt(int row) const {
    if (!controller() || row < 0 || row >= m_count)
        return nullptr;
    const auto it = controller()->conversations().constFind(m_key);
    if (it == controller()->conversations().cend() || row >= it->messages.size())
        return nullptr;
    return &it->messages.at(row);
}

void MessageListModel::reload() {
    // The history came in after the conversation opened: the divider goes
    // where it would have gone had it been in then.
    const bool historyCame = m_unreadAwaitsHistory && controller() && controller()->historyLoaded();
    if (historyCame)
        noteFirstUnread();
    beginResetModel();
    m_count = storedCount();
    endResetModel();
    Q_EMIT countChanged();
    if (historyCame)
        Q_EMIT firstUnreadChanged();
}

void MessageListModel::onMessageAppended(const QString& key, int row) {
    if (key != m_key)
        return;
    // The controller appends one message at a time; anything else means we
    // missed a change, and only a reset brings the view back in step.
    if (row != m_count || storedCount() != m_count + 1) {
        reload();
        return;
    }
    beginInsertRows({}, row, row);
    m_count = row + 1;
    endInsertRows();
    Q_EMIT countChanged();
}

void MessageListModel::onMessageChanged(const QString& key, int row) {
    if (key != m_key || row < 0 || row >= m_count)
        return;
    Q_EMIT dataChanged(index(row), index(row));
}

void MessageListModel::onMessageRemoved(const QString& key, int row) {
    if (key != m_key)
        return;
    if (row < 0 || row >= m_count || storedCount() != m_count - 1) {
        reload();
        return;
    }
    beginRemoveRows({}, row, row);
    m_count -= 1;
    endRemoveRows();
    Q_EMIT countChanged();
}

void MessageListModel::onConversationAddedOrRemoved(const QString& key) {
    if (key == m_key)
        reload();
}

int MessageListModel::rowOfMessage(const QString& messageId) const {
    const QUuid id(messageId);
    for (int row = m_count - 1; row >= 0; --row) {
        if (const ChatMessage* message = messageAt(row); message && message->id == id)
            return row;
    }
    return -1;
}

bool MessageListModel::isOutgoing(int row) const {
    const ChatMessage* message = messageAt(row);
    return message && message->direction == ChatMessage::Direction::outgoing;
}

int MessageListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_count;
}

QString MessageListModel::reportToggleSymbol(bool expanded) {
    return ViewLogic::reportToggleSymbol(expanded);
}

QString MessageListModel::styledText(const QString& text, bool outgoing, const QColor& mentionColor,
                                     const QColor& linkColor, const QString& ownName) {
    using Kind = Text::TextSegment::Kind;
    const QColor mention = outgoing ? MessageListModel::outgoingMentionColor() : mentionColor;
    const QColor link = outgoing ? MessageListModel::outgoingLinkColor() : linkColor;
    const QString me = outgoing ? QString() : Text::foldedName(ownName);
    QString html;
    html.reserve(text.size() * 2 + 64);
    for (const Text::TextSegment& segment : Text::segments(text)) {
        const QString escaped = segment.text.toHtmlEscaped();
        switch (segment.kind) {
        case Kind::plain:
            html += escaped;
            break;
        case Kind::mention:
            html += coloured(escaped, mention, false, Text::isMentionOf(segment, me));
            break;
        case Kind::link: {
            const QString run = coloured(escaped, link, true);
            // A text that is no URL keeps its colour and underline but
            // opens nothing.
            if (QUrl(segment.url, QUrl::StrictMode).isValid())
                html +=
                    QStringLiteral("<a href=\"%1\">%2</a>").arg(segment.url.toHtmlEscaped(), run);
            else
                html += run;
            break;
        }
        }
    }
    // Keep the sender's spaces and line breaks as typed.
    return QStringLiteral("<span style=\"white-space:pre-wrap;\">") + html +
           QStringLiteral("</span>");
}

QVariant MessageListModel::data(const QModelIndex& index, int role) const {
    const ChatMessage* message = messageAt(index.row());
    if (!message || index.column() != 0)
        return {};
    const bool outgoing = message->direction == ChatMessage::Direction::outgoing;

    // The sender split applies to incoming channel texts only.
    const auto channelSender = [&] {
        if (outgoing || !m_target || !m_target->isChannel())
            return ViewLogic::ChannelSender{{}, message->text};
        return ViewLogic::splitChannelSender(message->text);
    };

    switch (Role(role)) {
    case IdRole:
        return message->id.toString(QUuid::WithoutBraces);
    case OutgoingRole:
        return outgoing;
    case RichTextRole:
        return styledText(ViewLogic::safeBody(channelSender().body), outgoing, m_mentionColor,
                          m_linkColor, controller()->ownName());
    case TextRole:
        return message->text.toString();
    case SenderRole:
        return ViewLogic::safeName(channelSender().sender);
    case SenderColorRole: {
        const QString sender = channelSender().sender;
        if (sender.isEmpty())
            return QColor();
        const QColor color = ViewLogic::senderColor(sender);
        return m_bubbleColor.isValid() ? ViewLogic::readableOn(color, m_bubbleColor) : color;
    }
    case SenderBadgeRole: {
        const QString sender = channelSender().sender;
        return sender.isEmpty() ? QString()
                                : ViewLogic::safeName(ViewLogic::senderBadgeText(sender));
    }
    case TimeTextRole:
        return ViewLogic::bubbleFooter(*message).time;
    case SnrTextRole:
        return ViewLogic::bubbleFooter(*message).snr.value_or(QString());
    case SnrTintRole:
        return Look::tintName(ViewLogic::bubbleFooter(*message).snrTint);
    case HopTextRole:
        return ViewLogic::bubbleFooter(*message).hops.value_or(QString());
    case RoundTripTextRole:
        return ViewLogic::bubbleFooter(*message).roundTrip.value_or(QString());
    case StateSymbolRole:
        return ViewLogic::bubbleFooter(*message).stateSymbol;
    case StateTintRole:
        return Look::tintName(ViewLogic::bubbleFooter(*message).stateTint);
    case ReportLinesRole: {
        QVariantList lines;
        for (const ViewLogic::ReportLine& line :
             ViewLogic::reportLines(*message, QLocale(), controller()->clock()->now()))
            lines.append(QVariantMap{{QStringLiteral("symbol"), line.symbol},
                                     {QStringLiteral("text"), line.text.text()},
                                     {QStringLiteral("tint"), Look::tintName(line.tint)}});
        return lines;
    }
    case SpokenTextRole: {
        const ViewLogic::ChannelSender split = channelSender();
        return ViewLogic::messageSpoken(split.sender, split.body,
                                        ViewLogic::bubbleFooter(*message).time, outgoing,
                                        message->deliveryState);
    }
    case BodyTextRole:
        return ViewLogic::safeBody(Text::withMentionsAsShown(channelSender().body));
    case FailedRole:
        return outgoing && message->deliveryState == ChatMessage::DeliveryState::failed;
    case FirstUnreadRole:
        return !m_firstUnreadId.isEmpty() && message->id == QUuid(m_firstUnreadId);
    }
    return {};
}

QHash<int, QByteArray> MessageListModel::roleNames() const {
    return {
        {IdRole, "messageId"},
        {OutgoingRole, "outgoing"},
        {RichTextRole, "richText"},
        {TextRole, "messageText"},
        {SenderRole, "sender"},
        {SenderColorRole, "senderColor"},
        {SenderBadgeRole, "senderBadge"},
        {TimeTextRole, "timeText"},
        {SnrTextRole, "snrText"},
        {SnrTintRole, "snrTint"},
        {HopTextRole, "hopText"},
        {RoundTripTextRole, "roundTripText"},
        {StateSymbolRole, "stateSymbol"},
        {StateTintRole, "stateTint"},
        {BodyTextRole, "bodyText"},
        {FailedRole, "failed"},
        {FirstUnreadRole, "firstUnread"},
        {ReportLinesRole, "reportLines"},
        {SpokenTextRole, "spokenText"},
    };
}
