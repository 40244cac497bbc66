#pragma once

#include "controller/mesh_controller.h"
#include "controller_bound.h"
#include "model/conversation.h"

#include <QAbstractListModel>
#include <QColor>
#include <QPointer>
#include <QString>
#include <QtQml/qqml.h>
#include <optional>

// The messages of one conversation, oldest first, for the chat's list view.
// Rows follow the controller one change at a time (an appended message is one
// inserted row, a delivery update one changed row, a message sent again one
// removed row); only a change of the
// conversation itself resets the model. Role data is computed when asked
// for, so a long history opens at once.
class MessageListModel : public ControllerBoundListModel {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString conversationKey READ conversationKey WRITE setConversationKey NOTIFY
                   conversationKeyChanged)
    // Colours of mentions and links in incoming bubbles; they follow the
    // theme, while outgoing bubbles use fixed light tones on the accent.
    Q_PROPERTY(QColor incomingMentionColor READ incomingMentionColor WRITE setIncomingMentionColor
                   NOTIFY incomingColorsChanged)
    Q_PROPERTY(QColor incomingLinkColor READ incomingLinkColor WRITE setIncomingLinkColor NOTIFY
                   incomingColorsChanged)
    // The incoming bubble as drawn: sender names are deepened (or lightened)
    // against it until they read at 4.5:1. Invalid: the names as they are.
    Q_PROPERTY(QColor incomingBubbleColor READ incomingBubbleColor WRITE setIncomingBubbleColor
                   NOTIFY incomingColorsChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    // The first message that was unread when the conversation was opened
    // (set as the key changes, before the chat marks it read, or as the
    // history comes in when it opened before): the divider goes above it.
    // Empty when nothing was unread.
    Q_PROPERTY(QString firstUnreadId READ firstUnreadId NOTIFY firstUnreadChanged)
    // "40 new messages", for the divider.
    Q_PROPERTY(QString dividerText READ dividerText NOTIFY firstUnreadChanged)

public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        OutgoingRole,
        // The text as styled HTML for a rich-text Text item: mentions and links
        // coloured, links underlined and clickable.
        RichTextRole,
        // The message text as stored.
        TextRole,
        // Incoming channel messages: the sender named in front of the text
        // (empty when there is none), its colour and badge character.
        SenderRole,
        SenderColorRole,
        SenderBadgeRole,
        TimeTextRole,
        SnrTextRole, // "· 7 dB", empty without an SNR
        SnrTintRole, // tint name for Theme.tint()
        HopTextRole, // outgoing with a hop count only
        RoundTripTextRole,
        StateSymbolRole, // outgoing only
        StateTintRole,
        // The report card: a list of {symbol, text, tint}.
        ReportLinesRole,
        // What a screen reader announces: sender, text, time, delivery state.
        SpokenTextRole,
        // The text as the bubble shows it, unstyled: what "Copy text" copies.
        BodyTextRole,
        // A failed outgoing message, which the user can send again.
        FailedRole,
        // The first message that was unread when the conversation opened.
        FirstUnreadRole,
    };
    Q_ENUM(Role)

    explicit MessageListModel(QObject* parent = nullptr);

    // Mention and link tones on the accent gradient of outgoing bubbles.
    static QColor outgoingMentionColor() { return QColor::fromRgbF(1.0f, 0.85f, 0.4f); }
    static QColor outgoingLinkColor() { return QColor::fromRgbF(0.7f, 0.9f, 1.0f); }

    const QString& conversationKey() const { return m_key; }
    void setConversationKey(const QString& key);
    QColor incomingMentionColor() const { return m_mentionColor; }
    void setIncomingMentionColor(const QColor& color);
    QColor incomingLinkColor() const { return m_linkColor; }
    void setIncomingLinkColor(const QColor& color);
    QColor incomingBubbleColor() const { return m_bubbleColor; }
    void setIncomingBubbleColor(const QColor& color);
    int count() const { return m_count; }
    const QString& firstUnreadId() const { return m_firstUnreadId; }
    QString dividerText() const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The row of the message with this id; -1 when it is not in this conversation.
    Q_INVOKABLE int rowOfMessage(const QString& messageId) const;

    // Whether the message of a row is one the user sent.
    Q_INVOKABLE bool isOutgoing(int row) const;

    // The icon of a bubble's report toggle.
    Q_INVOKABLE static QString reportToggleSymbol(bool expanded);

    // The styled HTML of a text: plain runs escaped, mentions and links in
    // the colours of an incoming or outgoing bubble. An incoming mention of
    // `ownName` (ignoring case) is drawn bold.
    static QString styledText(const QString& text, bool outgoing, const QColor& mentionColor,
                              const QColor& linkColor, const QString& ownName = {});

Q_SIGNALS:
    void conversationKeyChanged();
    void incomingColorsChanged();
    void countChanged();
    void firstUnreadChanged();

protected:
    void attach(MeshController* controller) override;

private:
    void reload();
    void noteFirstUnread();
    void onMessageAppended(const QString& key, int row);
    void onMessageChanged(const QString& key, int row);
    void onMessageRemoved(const QString& key, int row);
    void onConversationAddedOrRemoved(const QString& key);
    const ChatMessage* messageAt(int row) const;
    int storedCount() const;

    QString m_key;
    std::optional<ConversationID> m_target;
    QColor m_mentionColor{QColor::fromRgbF(1.0f, 0.58f, 0.0f)};
    QColor m_linkColor{QColor::fromRgbF(0.0f, 0.48f, 1.0f)};
    QColor m_bubbleColor;
    int m_count = 0;
    QString m_firstUnreadId;
    std::int64_t m_unreadAtOpen = 0;
    bool m_unreadAwaitsHistory = false;
};
