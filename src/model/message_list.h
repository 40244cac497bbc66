#pragma once

#include <QList>
#include <algorithm>
#include <compare>
#include <initializer_list>
#include <iterator>

// A list (the messages of one conversation, oldest first) kept in implicitly shared
// chunks of `chunkSize`. A copy (a snapshot for the writer thread, say)
// shares every chunk; a change afterwards copies the list of chunks and the
// one chunk it touches, never the whole conversation. Every chunk but the
// last is full, so a row is found by arithmetic.
template <typename T>
class ChunkedList {
public:
    static constexpr qsizetype chunkSize = 1024;

    class const_iterator {
    public:
        using iterator_category = std::random_access_iterator_tag;
        using value_type = T;
        using difference_type = qsizetype;
        using pointer = const T*;
        using reference = const T&;

        const_iterator() = default;
        const_iterator(const ChunkedList* list, qsizetype row)
            : m_list(list)
            , m_row(row) {}

        reference operator*() const { return m_list->at(m_row); }
        pointer operator->() const { return &m_list->at(m_row); }
        reference operator[](difference_type n) const { return m_list->at(m_row + n); }
        const_iterator& operator++() {
            ++m_row;
            return *this;
        }
        const_iterator operator++(int) { return {m_list, m_row++}; }
        const_iterator& operator--() {
            --m_row;
            return *this;
        }
        const_iterator operator--(int) { return {m_list, m_row--}; }
        const_iterator& operator+=(difference_type n) {
            m_row += n;
            return *this;
        }
        const_iterator& operator-=(difference_type n) {
            m_row -= n;
            return *this;
        }
        friend const_iterator operator+(const_iterator i, difference_type n) { return i += n; }
        friend const_iterator operator+(difference_type n, const_iterator i) { return i += n; }
        friend const_iterator operator-(const_iterator i, difference_type n) { return i -= n; }
        friend difference_type operator-(const const_iterator& a, const const_iterator& b) {
            return a.m_row - b.m_row;
        }
        friend bool operator==(const const_iterator& a, const const_iterator& b) {
            return a.m_row == b.m_row;
        }
        friend auto operator<=>(const const_iterator& a, const const_iterator& b) {
            return a.m_row <=> b.m_row;
        }

    private:
        const ChunkedList* m_list = nullptr;
        qsizetype m_row = 0;
    };
    using iterator = const_iterator;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;
    using value_type = T;

    ChunkedList() = default;
    ChunkedList(std::initializer_list<T> items) {
        for (const T& item : items)
            append(item);
    }
    explicit ChunkedList(const QList<T>& items) {
        for (const T& item : items)
            append(item);
    }

    qsizetype size() const { return m_size; }
    qsizetype count() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }

    const T& at(qsizetype row) const { return m_chunks.at(row / chunkSize).at(row % chunkSize); }
    const T& operator[](qsizetype row) const { return at(row); }
    // Copies only the chunk that holds `row` when it is shared.
    T& operator[](qsizetype row) { return m_chunks[row / chunkSize][row % chunkSize]; }
    T value(qsizetype row) const { return row >= 0 && row < m_size ? at(row) : T(); }
    const T& first() const { return at(0); }
    const T& constFirst() const { return at(0); }
    const T& last() const { return at(m_size - 1); }
    const T& constLast() const { return at(m_size - 1); }

    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, m_size}; }
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }
    const_iterator constBegin() const { return begin(); }
    const_iterator constEnd() const { return end(); }
    const_reverse_iterator crbegin() const { return const_reverse_iterator(end()); }
    const_reverse_iterator crend() const { return const_reverse_iterator(begin()); }

    void append(T item) {
        if (m_size % chunkSize == 0) {
            m_chunks.append(QList<T>());
            m_chunks.last().reserve(chunkSize);
        }
        m_chunks.last().append(std::move(item));
        ++m_size;
    }
    void append(const ChunkedList& items) {
        for (const T& item : items)
            append(item);
    }
    void removeAt(qsizetype row) {
        // The chunks after it each pass their first item back; rows are
        // only removed near the end in practice.
        qsizetype chunk = row / chunkSize;
        m_chunks[chunk].removeAt(row % chunkSize);
        for (++chunk; chunk < m_chunks.size(); ++chunk) {
            m_chunks[chunk - 1].append(m_chunks.at(chunk).constFirst());
            m_chunks[chunk].removeFirst();
        }
        if (!m_chunks.isEmpty() && m_chunks.constLast().isEmpty())
            m_chunks.removeLast();
        --m_size;
    }
    void clear() {
        m_chunks.clear();
        m_size = 0;
    }
    // Keeps the first `count` items (or pads with default items).
    void resize(qsizetype count) {
        while (m_size > count) {
            QList<T>& tail = m_chunks.last();
            const qsizetype drop = std::min(m_size - count, tail.size());
            tail.resize(tail.size() - drop);
            m_size -= drop;
            if (tail.isEmpty())
                m_chunks.removeLast();
        }
        while (m_size < count)
            append(T());
    }
    ChunkedList mid(qsizetype from, qsizetype length = -1) const {
        ChunkedList out;
        const qsizetype to = length < 0 ? m_size : std::min(m_size, from + length);
        for (qsizetype row = std::max<qsizetype>(from, 0); row < to; ++row)
            out.append(at(row));
        return out;
    }
    QList<T> toList() const {
        QList<T> out;
        out.reserve(m_size);
        for (const QList<T>& chunk : m_chunks)
            out.append(chunk);
        return out;
    }

    // Whether the chunk holding `row` is the very same shared chunk in
    // `other`, with as many items: then none of its items differ.
    bool sharesChunkAt(const ChunkedList& other, qsizetype row) const {
        const qsizetype chunk = row / chunkSize;
        if (chunk >= m_chunks.size() || chunk >= other.m_chunks.size())
            return false;
        const QList<T>& mine = m_chunks.at(chunk);
        const QList<T>& theirs = other.m_chunks.at(chunk);
        return mine.constData() == theirs.constData() && mine.size() == theirs.size();
    }
    // Whether a copy (the writer's snapshot, say) still shares the list.
    bool isShared() const { return !m_chunks.isDetached(); }
    // Whether `other` is a copy of this list that neither changed since.
    bool isSharedWith(const ChunkedList& other) const {
        return m_size == other.m_size && m_chunks.constData() == other.m_chunks.constData();
    }

    friend bool operator==(const ChunkedList& a, const ChunkedList& b) {
        if (a.m_size != b.m_size)
            return false;
        for (qsizetype row = 0; row < a.m_size;) {
            if (row % chunkSize == 0 && a.sharesChunkAt(b, row)) {
                row += chunkSize;
                continue;
            }
            if (!(a.at(row) == b.at(row)))
                return false;
            ++row;
        }
        return true;
    }
    friend bool operator==(const ChunkedList& a, const QList<T>& b) {
        return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
    }

private:
    QList<QList<T>> m_chunks;
    qsizetype m_size = 0;
};
