#pragma once

#include <QAbstractListModel>
#include <QList>
#include <QSet>

// A list model whose rows are recomputed as a whole from the controller's
// state and then applied as the smallest set of row changes: removals,
// moves, insertions and dataChanged for rows whose values differ. Views keep
// their selection and scroll position, and a new message in one conversation
// touches only that conversation's row. `Row` needs a `key` member that
// identifies it and operator==. `Base` is QAbstractListModel or a class
// derived from it.
template <typename Base, typename Row>
class SyncedListModel : public Base {
public:
    using Base::Base;

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : int(m_rows.size());
    }

    const QList<Row>& rows() const { return m_rows; }

protected:
    // Replaces every row in one reset: for the controller's *Reset signals.
    void resetRows(QList<Row> next) {
        this->beginResetModel();
        m_rows = std::move(next);
        this->endResetModel();
    }

    // Turns the present rows into `next` one change at a time.
    void syncRows(const QList<Row>& next) {
        QSet<QString> nextKeys;
        for (const Row& row : next)
            nextKeys.insert(row.key);
        for (int i = int(m_rows.size()) - 1; i >= 0; --i) {
            if (!nextKeys.contains(m_rows.at(i).key)) {
                this->beginRemoveRows({}, i, i);
                m_rows.removeAt(i);
                this->endRemoveRows();
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
                    this->beginMoveRows({}, from, from, {}, i);
                    m_rows.move(from, i);
                    this->endMoveRows();
                } else {
                    this->beginInsertRows({}, i, i);
                    m_rows.insert(i, wanted);
                    this->endInsertRows();
                    continue;
                }
            }
            if (!(m_rows.at(i) == wanted)) {
                m_rows[i] = wanted;
                Q_EMIT this->dataChanged(this->index(i), this->index(i));
            }
        }
    }

    // Tells views that a derived value of every row changed (e.g. the
    // relative time as the clock moves on).
    void rowsChangedForRoles(const QList<int>& roles) {
        if (!m_rows.isEmpty())
            Q_EMIT this->dataChanged(this->index(0), this->index(int(m_rows.size()) - 1), roles);
    }

private:
    QList<Row> m_rows;
};
