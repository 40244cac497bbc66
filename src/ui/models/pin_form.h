#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringView>
#include <QtQml/qqml.h>

class PairingPrompt;

// The PIN sheet's state: what the radio asks while it pairs (from the
// application's pairing prompt), the digits typed, and whether they can be
// given. Each new question starts with no digits.
class PinForm : public QObject {
    Q_OBJECT
    QML_ELEMENT
    // The application's PairingPrompt; any other object counts as none.
    Q_PROPERTY(QObject* prompt READ prompt WRITE setPrompt NOTIFY promptChanged)
    Q_PROPERTY(bool open READ isOpen NOTIFY changed)
    // "enter" (type the radio's PIN), "confirm" (does the radio show this
    // passkey?), "show" (type this passkey on the radio), or empty.
    Q_PROPERTY(QString mode READ mode NOTIFY changed)
    Q_PROPERTY(QString radioName READ radioName NOTIFY changed)
    Q_PROPERTY(QString passkey READ passkey NOTIFY changed)
    Q_PROPERTY(QString digits READ digits WRITE setDigits NOTIFY changed)
    Q_PROPERTY(bool canSubmit READ canSubmit NOTIFY changed)

public:
    static constexpr qsizetype maxDigits = 6;

    explicit PinForm(QObject* parent = nullptr);

    QObject* prompt() const;
    void setPrompt(QObject* prompt);

    bool isOpen() const;
    QString mode() const;
    QString radioName() const;
    QString passkey() const;
    const QString& digits() const { return m_digits; }
    // Keeps the digits of `text`, at most six.
    void setDigits(const QString& text);
    bool canSubmit() const;

    // Gives the typed PIN, says yes to the passkey shown, or closes a
    // passkey to type on the radio. Nothing unless canSubmit.
    Q_INVOKABLE void submit();
    // Refuses, or cancels the pairing.
    Q_INVOKABLE void cancel();

    static QString digitsOnly(QStringView text);

Q_SIGNALS:
    void promptChanged();
    void changed();

private:
    QPointer<PairingPrompt> m_prompt;
    QString m_digits;
};
