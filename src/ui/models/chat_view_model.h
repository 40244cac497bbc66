#pragma once

#include "controller/mesh_controller.h"
#include "controller_bound.h"
#include "model/conversation.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQml/qqml.h>
#include <optional>

// What the chat view shows around its message list: the header (title,
// subtitle, avatar, key verification), the conflict banner, and the
// composer's rules. Follows the controller's contacts, channels, verified
// keys and link state; all header properties change together.
class ChatViewModel : public ConversationBoundObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool isChannel READ isChannel NOTIFY headerChanged)
    Q_PROPERTY(QString title READ title NOTIFY headerChanged)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY headerChanged)
    Q_PROPERTY(QString avatarSeed READ avatarSeed NOTIFY headerChanged)
    Q_PROPERTY(QString avatarInitials READ avatarInitials NOTIFY headerChanged)
    Q_PROPERTY(QString avatarSymbol READ avatarSymbol NOTIFY headerChanged)
    // The target is a contact the controller knows: the verification control shows.
    Q_PROPERTY(bool hasContact READ hasContact NOTIFY headerChanged)
    // "verified", "conflict" or "unverified"; empty without a contact.
    Q_PROPERTY(QString verificationState READ verificationState NOTIFY headerChanged)
    Q_PROPERTY(QString verificationSymbol READ verificationSymbol NOTIFY headerChanged)
    Q_PROPERTY(QString verificationTint READ verificationTint NOTIFY headerChanged)
    Q_PROPERTY(QString keyPrefix READ keyPrefix NOTIFY headerChanged)
    Q_PROPERTY(QString verificationHelp READ verificationHelp NOTIFY headerChanged)
    Q_PROPERTY(QString verificationActionText READ verificationActionText NOTIFY headerChanged)
    Q_PROPERTY(QString verificationActionSymbol READ verificationActionSymbol NOTIFY headerChanged)
    Q_PROPERTY(bool verificationActionClears READ verificationActionClears NOTIFY headerChanged)
    // The red banner's text; empty when there is no conflict.
    Q_PROPERTY(QString conflictText READ conflictText NOTIFY headerChanged)
    Q_PROPERTY(bool connected READ connected NOTIFY connectedChanged)
    // Why nothing can be sent just now, shown under the composer; empty
    // while connected and the history can be kept. Its icon beside it.
    Q_PROPERTY(QString sendBlockedReason READ sendBlockedReason NOTIFY connectedChanged)
    Q_PROPERTY(QString sendBlockedSymbol READ sendBlockedSymbol NOTIFY connectedChanged)
    // The most characters a message may hold.
    Q_PROPERTY(int limit READ limit CONSTANT)

public:
    explicit ChatViewModel(QObject* parent = nullptr);

    bool isChannel() const { return m_header.isChannel; }
    QString title() const { return m_header.title; }
    QString subtitle() const { return m_header.subtitle; }
    QString avatarSeed() const { return m_header.avatarSeed; }
    QString avatarInitials() const { return m_header.avatarInitials; }
    QString avatarSymbol() const { return m_header.avatarSymbol; }
    bool hasContact() const { return m_header.hasContact; }
    QString verificationState() const { return m_header.verificationState; }
    QString verificationSymbol() const { return m_header.verificationSymbol; }
    QString verificationTint() const { return m_header.verificationTint; }
    QString keyPrefix() const { return m_header.keyPrefix; }
    QString verificationHelp() const { return m_header.verificationHelp; }
    QString verificationActionText() const { return m_header.verificationActionText; }
    QString verificationActionSymbol() const { return m_header.verificationActionSymbol; }
    bool verificationActionClears() const { return m_header.verificationActionClears; }
    QString conflictText() const { return m_header.conflictText; }
    bool connected() const;
    QString sendBlockedReason() const;
    QString sendBlockedSymbol() const;
    static int limit();

    // --- composer
    // The draft as the field keeps it: cut to 139 characters.
    Q_INVOKABLE static QString limitDraft(const QString& draft);
    // "n/139" and its tint name for Theme.tint().
    Q_INVOKABLE static QString counterText(const QString& draft);
    Q_INVOKABLE static QString counterTint(const QString& draft);
    // The field's border turns red.
    Q_INVOKABLE static bool atLimit(const QString& draft);
    Q_INVOKABLE bool canSend(const QString& draft) const;
    // Sends the draft as typed when it can be sent; true when it was, so the
    // view clears the field.
    Q_INVOKABLE bool send(const QString& draft);
    Q_INVOKABLE void markRead();

    // --- a bubble's menu
    // Sends a failed message of this conversation again (see
    // MeshController::sendAgain); only while connected. True when it went.
    Q_INVOKABLE bool sendAgain(const QString& messageId);
    // Puts the text on the clipboard as plain text.
    Q_INVOKABLE static void copyText(const QString& text);

    // --- verification of the contact shown; nothing without one
    Q_INVOKABLE void setVerified();
    Q_INVOKABLE void clearVerified();
    // The menu's one action: clears a verification, else verifies.
    Q_INVOKABLE void triggerVerificationAction();

Q_SIGNALS:
    void headerChanged();
    void connectedChanged();

protected:
    void attach(MeshController* controller) override;
    void conversationChanged() override { refresh(); }

private:
    // The title of a conversation whose contact the radio does not list.
    QString unlistedTitle() const;
    struct Header {
        bool isChannel = false;
        QString title;
        QString subtitle;
        QString avatarSeed;
        QString avatarInitials;
        QString avatarSymbol;
        bool hasContact = false;
        QString verificationState;
        QString verificationSymbol;
        QString verificationTint;
        QString keyPrefix;
        QString verificationHelp;
        QString verificationActionText;
        QString verificationActionSymbol;
        bool verificationActionClears = false;
        QString conflictText;

        bool operator==(const Header&) const = default;
    };

    void refresh();
    std::optional<Contact> contact() const;
    // Another Talvenne keeps the history: nothing sent here could be kept.
    bool historyHeldElsewhere() const;
    bool historyBeingRead() const;

    Header m_header;
    QString m_headerKey; // the conversation m_header was made for
};
