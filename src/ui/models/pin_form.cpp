#include "pin_form.h"

#include "followed_object.h"
#include "logic/safe_text.h"
#include "transport/pairing_prompt.h"

using Kind = PairingPrompt::Kind;

PinForm::PinForm(QObject* parent)
    : QObject(parent) {}

QObject* PinForm::prompt() const {
    return m_prompt;
}

void PinForm::setPrompt(QObject* prompt) {
    const bool followed = followObject(m_prompt, prompt, this, [this](PairingPrompt* pairing) {
        connect(pairing, &PairingPrompt::changed, this, [this] {
            m_digits.clear();
            Q_EMIT changed();
        });
    });
    if (!followed)
        return;
    m_digits.clear();
    Q_EMIT promptChanged();
    Q_EMIT changed();
}

bool PinForm::isOpen() const {
    return m_prompt && m_prompt->kind() != Kind::none;
}

QString PinForm::mode() const {
    switch (m_prompt ? m_prompt->kind() : Kind::none) {
    case Kind::enterPasskey:
        return QStringLiteral("enter");
    case Kind::confirmPasskey:
        return QStringLiteral("confirm");
    case Kind::showPasskey:
        return QStringLiteral("show");
    case Kind::none:
        break;
    }
    return {};
}

QString PinForm::radioName() const {
    return m_prompt ? ViewLogic::safeName(m_prompt->radioName()) : QString();
}

QString PinForm::passkey() const {
    return m_prompt ? m_prompt->passkey() : QString();
}

QString PinForm::digitsOnly(QStringView text) {
    QString digits;
    for (const QChar c : text) {
        if (c >= QLatin1Char('0') && c <= QLatin1Char('9') && digits.size() < maxDigits)
            digits.append(c);
    }
    return digits;
}

void PinForm::setDigits(const QString& text) {
    const QString digits = digitsOnly(text);
    if (digits == m_digits)
        return;
    m_digits = digits;
    Q_EMIT changed();
}

bool PinForm::canSubmit() const {
    if (!isOpen())
        return false;
    return m_prompt->kind() != Kind::enterPasskey || !m_digits.isEmpty();
}

void PinForm::submit() {
    if (!canSubmit())
        return;
    if (m_prompt->kind() == Kind::enterPasskey)
        m_prompt->enter(m_digits.toUInt());
    else
        m_prompt->accept();
}

void PinForm::cancel() {
    if (m_prompt)
        m_prompt->refuse();
}
