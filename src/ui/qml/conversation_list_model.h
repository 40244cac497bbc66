#pragma once

#include "logic/conversation_row.h"
#include "synced_list_model.h"

#include <QDateTime>
#include <QPointer>
#include <QString>
#include <QtQml/qqml.h>

class MeshController;

namespace SidebarRows {
// One row of the messages list with the title of its section.
struct ConversationEntry {
    QString key; // conversation key, "contact:<key>" or "channel:<index>"
    QString section;
    ViewLogic::ConversationRow row;

    bool operator==(const ConversationEntry&) const = default;
};
} // namespace SidebarRows

// The sidebar's messages mode: the listed channels, then the chat contacts
// that pass the search, as one list whose `section` role names the group.
class ConversationListModel : public SyncedListModel<SidebarRows::ConversationEntry> {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(
        MeshController* controller READ controller WRITE setController NOTIFY controllerChanged)
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged)
    // The moment relative times are measured from; views move it on now and then.
    Q_PROPERTY(QDateTime now READ now WRITE setNow NOTIFY nowChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(bool showEmptyState READ showEmptyState NOTIFY showEmptyStateChanged)

public:
    enum Role {
        KeyRole = Qt::UserRole + 1,
        KindRole, // "channel" or "contact"
        ContactKeyRole,
        ChannelIndexRole,
        SectionRole,
        TitleRole,
        SubtitleRole,
        TimeTextRole, // empty when there is no activity
        UnreadRole,
        SeedRole,
        InitialsRole,
        SymbolRole, // empty when the avatar shows initials
        IsFavoriteRole,
    };
    Q_ENUM(Role)

    explicit ConversationListModel(QObject* parent = nullptr);

    MeshController* controller() const { return m_controller; }
    void setController(MeshController* controller);
    const QString& search() const { return m_search; }
    void setSearch(const QString& search);
    QDateTime now() const { return m_now; }
    void setNow(const QDateTime& now);
    int count() const { return rowCount(); }
    bool showEmptyState() const { return m_showEmptyState; }

    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The row of a conversation key, or -1.
    Q_INVOKABLE int rowOfKey(const QString& key) const;
    Q_INVOKABLE QString keyAt(int row) const;

Q_SIGNALS:
    void controllerChanged();
    void searchChanged();
    void nowChanged();
    void countChanged();
    void showEmptyStateChanged();

private:
    QList<SidebarRows::ConversationEntry> computeRows();
    void update();
    void rebuild();
    void setShowEmptyState(bool show);

    QPointer<MeshController> m_controller;
    QString m_search;
    QDateTime m_now;
    bool m_showEmptyState = false;
};
