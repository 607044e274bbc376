#pragma once

#include <QAbstractListModel>
#include <QList>

namespace quillvane::ui {

// Base of the list models over project records. The store hands over a whole new project
// on every change; syncRows keeps the rows the views already show: when the records have
// the same identities in the same order, only the rows whose record changed are reported
// (a grid keeps its delegates and a field being typed in keeps its cursor); otherwise the
// model resets.
class RecordModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    using QAbstractListModel::QAbstractListModel;
    int count() const { return rowCount(); }

Q_SIGNALS:
    void countChanged();

protected:
    template <typename Record, typename IdOf>
    void syncRows(QList<Record> &rows, const QList<Record> &next, IdOf idOf)
    {
        const bool sameRows = rows.size() == next.size()
            && std::equal(rows.begin(), rows.end(), next.begin(),
                          [&](const Record &a, const Record &b) { return idOf(a) == idOf(b); });
        if (!sameRows) {
            const bool countChanges = rows.size() != next.size();
            beginResetModel();
            rows = next;
            endResetModel();
            if (countChanges)
                Q_EMIT countChanged();
            return;
        }
        for (qsizetype i = 0; i < rows.size(); ++i) {
            if (rows[i] == next[i])
                continue;
            rows[i] = next[i];
            Q_EMIT dataChanged(index(int(i)), index(int(i)));
        }
    }
};

} // namespace quillvane::ui
