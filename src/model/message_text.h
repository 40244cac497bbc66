#pragma once

#include <QByteArray>
#include <QDebug>
#include <QString>

// A message's text, kept as UTF-8: as the history file holds it, and half
// the memory of the same text in UTF-16 for most chat, which counts in a
// history of a million messages. It turns into a QString where it is shown,
// searched or sent, and is made from one where it is typed or received.
class MessageText {
public:
    MessageText() = default;
    MessageText(const QString& text)
        : m_utf8(text.toUtf8()) {}
    // `utf8` must be valid UTF-8 (the history reader checks it as it reads).
    static MessageText fromUtf8(QByteArray utf8) {
        MessageText text;
        text.m_utf8 = std::move(utf8);
        return text;
    }

    QString toString() const { return QString::fromUtf8(m_utf8); }
    operator QString() const { return toString(); }
    const QByteArray& utf8() const { return m_utf8; }
    bool isEmpty() const { return m_utf8.isEmpty(); }

    friend bool operator==(const MessageText& a, const MessageText& b) {
        return a.m_utf8 == b.m_utf8;
    }
    friend bool operator==(const MessageText& a, const QString& b) { return a.toString() == b; }
    friend QDebug operator<<(QDebug debug, const MessageText& text) {
        return debug << text.toString();
    }

private:
    QByteArray m_utf8;
};
