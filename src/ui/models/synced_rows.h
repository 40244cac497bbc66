#pragma once

#include <QList>
#include <QModelIndex>
#include <QSet>
#include <QString>

// The rows of a list model, recomputed as a whole from the controller's state
// and then applied as the smallest set of row changes: removals, moves,
// insertions and dataChanged for rows whose values differ. Views keep their
// selection and scroll position, and a new message in one conversation
// touches only that conversation's row. `Row` needs a `key` member that
// identifies it and operator==. `Model` is the QAbstractListModel that shows
// the rows and owns this helper; it makes the helper a friend, so that the
// changes are announced through it.
template <typename Model, typename Row>
class SyncedRows {
public:
    explicit SyncedRows(Model& model)
        : m_model(model) {}
    SyncedRows(const SyncedRows&) = delete;
    SyncedRows& operator=(const SyncedRows&) = delete;

    const QList<Row>& rows() const { return m_rows; }
    int count() const { return int(m_rows.size()); }

    // The row of a key, or -1; the key of a row, or empty.
    int rowOfKey(const QString& key) const {
        for (int i = 0; i < count(); ++i) {
            if (m_rows.at(i).key == key)
                return i;
        }
        return -1;
    }
    QString keyAt(int row) const {
        return row >= 0 && row < count() ? m_rows.at(row).key : QString();
    }

    // Replaces every row in one reset: for the controller's *Reset signals.
    void reset(QList<Row> next) {
        m_model.beginResetModel();
        m_rows = std::move(next);
        m_model.endResetModel();
    }

    // Turns the present rows into `next` one change at a time.
    void sync(const QList<Row>& next) {
        QSet<QString> nextKeys;
        for (const Row& row : next)
            nextKeys.insert(row.key);
        for (int i = count() - 1; i >= 0; --i) {
            if (!nextKeys.contains(m_rows.at(i).key)) {
                m_model.beginRemoveRows({}, i, i);
                m_rows.removeAt(i);
                m_model.endRemoveRows();
            }
        }
        for (int i = 0; i < int(next.size()); ++i) {
            const Row& wanted = next.at(i);
            if (i >= count() || m_rows.at(i).key != wanted.key) {
                int from = -1;
                for (int j = i + 1; j < count(); ++j) {
                    if (m_rows.at(j).key == wanted.key) {
                        from = j;
                        break;
                    }
                }
                if (from >= 0) {
                    m_model.beginMoveRows({}, from, from, {}, i);
                    m_rows.move(from, i);
                    m_model.endMoveRows();
                } else {
                    m_model.beginInsertRows({}, i, i);
                    m_rows.insert(i, wanted);
                    m_model.endInsertRows();
                    continue;
                }
            }
            if (!(m_rows.at(i) == wanted)) {
                m_rows[i] = wanted;
                Q_EMIT m_model.dataChanged(m_model.index(i), m_model.index(i));
            }
        }
    }

    // Tells views that a derived value of every row changed (e.g. the
    // relative time as the clock moves on).
    void changedForRoles(const QList<int>& roles) {
        if (!m_rows.isEmpty())
            Q_EMIT m_model.dataChanged(m_model.index(0), m_model.index(count() - 1), roles);
    }

private:
    Model& m_model;
    QList<Row> m_rows;
};
