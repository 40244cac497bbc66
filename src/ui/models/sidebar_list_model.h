#pragma once

#include "controller_bound.h"
#include "synced_rows.h"

#include <QPointer>
#include <QString>
#include <QtQml/qqml.h>

class MeshController;

// What the sidebar's two lists share: they follow a controller, filter by the
// search text, may show an empty state instead of rows, and are addressed by
// row key from QML (selection, current row).
class SidebarListModel : public ControllerBoundListModel {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(bool showEmptyState READ showEmptyState NOTIFY showEmptyStateChanged)

public:
    explicit SidebarListModel(QObject* parent = nullptr);

    const QString& search() const { return m_search; }
    void setSearch(const QString& search);
    int count() const { return rowCount(); }
    bool showEmptyState() const { return m_showEmptyState; }

    // The row of a key, or -1; the key of a row, or empty.
    Q_INVOKABLE virtual int rowOfKey(const QString& key) const = 0;
    Q_INVOKABLE virtual QString keyAt(int row) const = 0;

Q_SIGNALS:
    void searchChanged();
    void countChanged();
    void showEmptyStateChanged();

protected:
    void attach(MeshController* controller) final;
    // Hooks the controller's signals that change the rows.
    virtual void followRows(MeshController* controller) = 0;
    // Applies the rows as they should be now, as row changes or, for the
    // controller's resets, as one reset.
    void update();
    void rebuild();
    // Recomputes the rows and applies them.
    virtual void applyRows(bool asReset) = 0;
    void setShowEmptyState(bool show);

private:
    template <typename, typename>
    friend class SyncedRows;

    void followReconnection();

    // While the radio is being reconnected, and until its lists are read
    // again, the rows stay as they were: the lists they come from are empty
    // meanwhile.
    bool m_holding = false;
    QString m_search;
    bool m_showEmptyState = false;
};
