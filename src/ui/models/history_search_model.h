#pragma once

#include "controller/mesh_controller.h"
#include "controller_bound.h"
#include "logic/history_search.h"

#include <QAbstractListModel>
#include <QByteArray>
#include <QElapsedTimer>
#include <QLocale>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QUuid>
#include <QtQml/qqml.h>
#include <chrono>

// The search over every conversation's messages, newest match first. An
// index that follows the controller puts the messages in that order (16
// bytes a message, no copy of their texts); a query then folds and looks
// through the texts in short slices of work between which the window keeps
// drawing, and results show as soon as a slice finds them. A new query
// cancels the one before.
class HistorySearchModel : public ControllerBoundListModel {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    // Still looking through the history for the present query.
    Q_PROPERTY(bool searching READ searching NOTIFY searchingChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    // "No messages match “…”" once a search found nothing, else empty.
    Q_PROPERTY(QString emptyText READ emptyText NOTIFY searchingChanged)

public:
    enum Role {
        ConversationKeyRole = Qt::UserRole + 1,
        ConversationTitleRole,
        MessageIdRole,
        SenderRole,
        // The matching text on one line, in three parts: the match is the
        // middle one.
        BeforeRole,
        MatchRole,
        AfterRole,
        TimeTextRole,
        SpokenTextRole,
    };
    Q_ENUM(Role)

    // The most results listed; a search stops there.
    static constexpr int maxResults = 500;
    // The longest a slice of work runs before the window gets to draw.
    static constexpr std::chrono::milliseconds sliceBudget{4};

    explicit HistorySearchModel(QObject* parent = nullptr);

    const QString& query() const { return m_query; }
    void setQuery(const QString& query);
    bool searching() const { return m_searching; }
    int count() const { return int(m_results.size()); }
    QString emptyText() const;

    // For tests and measurements: whether work is left, running it all now,
    // and the longest single slice of work so far.
    // The conversation and the message of a result; empty outside the rows.
    Q_INVOKABLE QString conversationKeyAt(int row) const;
    Q_INVOKABLE QString messageIdAt(int row) const;

    bool isIdle() const { return !m_work.isActive(); }
    void finishNow();
    std::chrono::microseconds longestSlice() const { return m_longestSlice; }
    void resetLongestSlice() { m_longestSlice = {}; }
    void setLocale(const QLocale& locale);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void queryChanged();
    void searchingChanged();
    void countChanged();

protected:
    void attach(MeshController* controller) override;

private:
    // A message in the index: its conversation (in m_keys) and its row there,
    // which finds it at once (rows only move when messages are removed, and
    // then the index is made anew).
    struct Entry {
        qint64 time = 0;
        qint32 conversation = 0;
        qint32 row = 0;
    };
    struct Result {
        QString key;
        qsizetype row = 0;
        QUuid id;
    };
    // Rows [first, end) of a conversation in time order, taken newest first
    // while the index is made; `time` is the time of row end - 1.
    struct Run {
        QString key;
        qsizetype first = 0;
        qsizetype end = 0;
        qint64 time = 0;
    };

    void reindex();
    void restartSearch();
    void runSlice();
    // Makes the index further until the slice is used up; false when it is
    // complete.
    bool indexSome(const QElapsedTimer& clock);
    void splitIntoRuns(const QElapsedTimer& clock);
    void searchSome(const QElapsedTimer& clock);
    void setSearching(bool searching);
    void onMessageAppended(const QString& key, int row);
    Entry entryFor(const QString& key, qsizetype row, const ChatMessage& message);
    // The conversation of an entry; none when it has gone. Looked up once a
    // slice.
    const Conversation* conversationOf(qint32 conversation);
    // Whether the message holds the present query.
    bool matches(const ChatMessage& message, bool channel);
    void addRun(Run run);
    const ChatMessage* messageAt(const QString& key, qsizetype row, const QUuid& id) const;
    // The text the search reads: a channel message's sender stays out.
    QString searchedText(const ChatMessage& message, const QString& key) const;

    QLocale m_locale;
    ViewLogic::SearchFolder m_folder;
    QByteArray m_folded; // the text being looked through, folded
    QString m_query;
    QString m_foldedQuery;
    QByteArray m_foldedQueryBytes;
    // Newest first. While the index is being made it holds the newest
    // messages, each older than none of the ones still to come.
    QList<Entry> m_entries;
    // The conversations entries name, and where each is in the list.
    QStringList m_keys;
    QHash<QString, qint32> m_keyIndex;
    // This slice's look-ups of m_keys (null: not looked up yet).
    QList<const Conversation*> m_sliceConversations;
    // Making the index: conversations not yet split into runs, the next row
    // of the one being split, and then the runs merged newest first (a heap
    // on their newest time).
    QStringList m_unsplit;
    qsizetype m_splitting = 0; // in m_unsplit
    qsizetype m_splitRow = 0;
    qsizetype m_runStart = 0; // the run being split: its first row, and
    qint64 m_runTime = 0;     // the time of the row before m_splitRow
    QList<Run> m_runs;
    bool m_merging = false;
    bool m_indexing = false;
    qsizetype m_cursor = -1; // the next entry the search looks at, going back
    QList<Result> m_results;
    bool m_searching = false;
    QTimer m_work;
    std::chrono::microseconds m_longestSlice{0};
};
