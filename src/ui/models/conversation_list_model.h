#pragma once

#include "logic/conversation_row.h"
#include "sidebar_list_model.h"

#include <QDateTime>
#include <QString>
#include <QtQml/qqml.h>

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
// moc is shown the QObject class under the row template, which it cannot
// follow, so that QML's tooling knows every inherited property.
#ifdef Q_MOC_RUN
class ConversationListModel : public SidebarListModel {
#else
class ConversationListModel : public SidebarRowsModel<SidebarRows::ConversationEntry> {
#endif
    Q_OBJECT
    QML_ELEMENT
    // The moment relative times are measured from; views move it on now and then.
    Q_PROPERTY(QDateTime now READ now WRITE setNow NOTIFY nowChanged)

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
        SpokenTextRole,    // what a screen reader announces for the row
        LevelRole,         // the notification level: "all", "mentions" or "nothing"
        LevelSymbolRole,   // its icon beside the title; empty for All
        LevelTextRole,     // its name, for the icon's tooltip
        UnreadQuietRole,   // the count in grey: none of it would have notified
        UnreadMentionRole, // an unread message mentions the user: "@" beside the count
    };
    Q_ENUM(Role)

    explicit ConversationListModel(QObject* parent = nullptr);

    QDateTime now() const {
        return m_now;
    }
    void setNow(const QDateTime& now);

    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void nowChanged();

private:
    void followRows(MeshController* controller) override;
    QList<SidebarRows::ConversationEntry> computeRows() override;

    QDateTime m_now;
};
