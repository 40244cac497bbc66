#include "transport/pairing_prompt.h"

#include "transport/link_log.h"

QString PairingPrompt::passkey() const {
    if (m_kind == Kind::none || m_kind == Kind::enterPasskey)
        return {};
    return QStringLiteral("%1").arg(m_passkey, 6, 10, QLatin1Char('0'));
}

void PairingPrompt::ask(Kind kind, const QString& radioName, quint32 passkey, Reply reply) {
    if (m_kind != Kind::none)
        close({});
    qCDebug(lcLink) << "pairing asks" << kind << "for" << radioName;
    m_kind = kind;
    m_radioName = radioName;
    m_passkey = passkey;
    m_reply = std::move(reply);
    Q_EMIT changed();
}

void PairingPrompt::withdraw() {
    if (m_kind == Kind::none)
        return;
    m_reply = {};
    m_kind = Kind::none;
    Q_EMIT changed();
}

void PairingPrompt::enter(quint32 passkey) {
    if (m_kind == Kind::enterPasskey && passkey <= maxPasskey)
        close({true, passkey});
}

void PairingPrompt::accept() {
    if (m_kind == Kind::confirmPasskey || m_kind == Kind::showPasskey)
        close({true, m_passkey});
}

void PairingPrompt::refuse() {
    if (m_kind != Kind::none)
        close({});
}

void PairingPrompt::close(const Answer& answer) {
    const Reply reply = std::exchange(m_reply, {});
    m_kind = Kind::none;
    Q_EMIT changed();
    if (reply)
        reply(answer);
}
