#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QDebug>
#include <QString>
#include <cstring>

// A message's text, kept as UTF-8: as the history file holds it, and half
// the memory of the same text in UTF-16 for most chat, which counts in a
// history of a million messages. It turns into a QString where it is shown,
// searched or sent, and is made from one where it is typed or received.
//
// A text never changes once made (a message gets a new one instead), so the
// texts of a history read from disk can share blocks (MessageTextBlocks).
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
    QByteArrayView utf8() const { return m_utf8; }
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

// Makes many texts at once (a history's, as it is read) end to end in blocks
// of 64 KiB instead of one allocation each. Each text holds a reference to
// its block, which lives as long as any of its texts; the bytes after each
// text's end are a terminating zero, as in any QByteArray.
class MessageTextBlocks {
public:
    // `utf8` must be valid UTF-8.
    MessageText add(QByteArrayView utf8) {
        const qsizetype size = utf8.size();
        if (size == 0 || size > largestShared)
            return MessageText::fromUtf8(utf8.toByteArray());
        if (m_block.isNull() || blockSize - m_used < size + 1) {
            m_block = QByteArray(blockSize, Qt::Uninitialized);
            m_used = 0;
        }
        // The block is shared by the texts already made: written through
        // its data pointer, which does not detach, past every one of them.
        char* const at = m_block.data_ptr().data() + m_used;
        std::memcpy(at, utf8.data(), size_t(size));
        at[size] = '\0';
        m_used += size + 1;
        QByteArray::DataPointer text = m_block.data_ptr(); // one more reference to the block
        text.ptr = at;
        text.size = size;
        return MessageText::fromUtf8(QByteArray(std::move(text)));
    }

private:
    static constexpr qsizetype blockSize = 64 * 1024 - 64; // with the allocation's header
    static constexpr qsizetype largestShared = 4096;       // longer texts get their own

    QByteArray m_block;
    qsizetype m_used = 0;
};
