#pragma once

#include <QAbstractListModel>
#include <QList>
#include <QSet>

// A list model whose rows are recomputed as a whole from the controller's
// state and then applied as the smallest set of row changes: removals,
// moves, insertions and dataChanged for rows whose values differ. Views keep
// their selection and scroll position, and a new message in one conversation
// touches only that conversation's row. `Row` needs a `key` member that
// identifies it and operator==.
template <typename Row>
class SyncedListModel : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : int(m_rows.size());
    }

    const QList<Row>& rows() const { return m_rows; }

protected:
    // Replaces every row in one reset: for the controller's *Reset signals.
    void resetRows(QList<Row> next) {
        beginResetModel();
        m_rows = std::move(next);
        endResetModel();
    }

    // Turns the present rows into `next` one change at a time.
    void syncRows(const QList<Row>& next) {
        QSet<QString> nextKeys;
        for (const Row& row : next)
            nextKeys.insert(row.key);
        for (int i = int(m_rows.size()) - 1; i >= 0; --i) {
            if (!nextKeys.contains(m_rows.at(i).key)) {
                beginRemoveRows({}, i, i);
                m_rows.removeAt(i);
                endRemoveRows();
            }
        }
        for (int i = 0; i < int(next.size()); ++i) {
            const Row& wanted = next.at(i);
            if (i >= int(m_rows.size()) || m_rows.at(i).key != wanted.key) {
                int from = -1;
                for (int j = i + 1; j < int(m_rows.size()); ++j) {
                    if (m_rows.at(j).key == wanted.key) {
                        from = j;
                        break;
                    }
                }
                if (from >= 0) {
                    beginMoveRows({}, from, from, {}, i);
                    m_rows.move(from, i);
                    endMoveRows();
                } else {
                    beginInsertRows({}, i, i);
                    m_rows.insert(i, wanted);
                    endInsertRows();
                    continue;
                }
            }
            if (!(m_rows.at(i) == wanted)) {
                m_rows[i] = wanted;
                Q_EMIT dataChanged(index(i), index(i));
            }
        }
    }

    // Tells views that a derived value of every row changed (e.g. the
    // relative time as the clock moves on).
    void rowsChangedForRoles(const QList<int>& roles) {
        if (!m_rows.isEmpty())
            Q_EMIT dataChanged(index(0), index(int(m_rows.size()) - 1), roles);
    }

private:
    QList<Row> m_rows;
};
