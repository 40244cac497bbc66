#pragma once

#include <QObject>
#include <QString>
#include <functional>

// What a radio asks of the user while it pairs, and the user's answer: the
// one question open at a time, for the PIN sheet to show. The Bluetooth
// agent puts questions here and hears the answers; the sheet reads the
// question and answers it. Main thread only.
class PairingPrompt final : public QObject {
    Q_OBJECT
    Q_PROPERTY(Kind kind READ kind NOTIFY changed)
    Q_PROPERTY(QString radioName READ radioName NOTIFY changed)
    // Six digits, for a passkey to compare or to type on the radio.
    Q_PROPERTY(QString passkey READ passkey NOTIFY changed)

public:
    enum class Kind {
        none,
        // Type the radio's PIN.
        enterPasskey,
        // Does the radio show this passkey?
        confirmPasskey,
        // Type this passkey on the radio.
        showPasskey,
    };
    Q_ENUM(Kind)

    // The largest passkey: six decimal digits.
    static constexpr quint32 maxPasskey = 999'999;

    struct Answer {
        bool accepted = false;
        quint32 passkey = 0; // what the user typed (enterPasskey)
    };
    using Reply = std::function<void(const Answer&)>;

    using QObject::QObject;

    Kind kind() const { return m_kind; }
    const QString& radioName() const { return m_radioName; }
    QString passkey() const;

    // Opens a question; one still open is refused first. `reply` hears the
    // answer once (showPasskey: only a refusal, or nothing).
    void ask(Kind kind, const QString& radioName, quint32 passkey, Reply reply);
    // The question no longer stands (the system gave up, or pairing ended);
    // nobody hears an answer to it.
    void withdraw();

    // The user's side. Each closes the question.
    // Gives the typed PIN; ignored unless a PIN is asked for, or above maxPasskey.
    Q_INVOKABLE void enter(quint32 passkey);
    // Yes to a passkey to compare; for a passkey shown, the user is done.
    Q_INVOKABLE void accept();
    // No, or cancel.
    Q_INVOKABLE void refuse();

Q_SIGNALS:
    void changed();

private:
    void close(const Answer& answer);

    Kind m_kind = Kind::none;
    QString m_radioName;
    quint32 m_passkey = 0;
    Reply m_reply;
};
