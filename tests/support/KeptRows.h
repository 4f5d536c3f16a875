#pragma once

#include <QAbstractItemModel>
#include <QHash>
#include <QList>
#include <QPersistentModelIndex>

namespace support {

/// The rows of a model as a view holds on to them, to see whether an edit leaves them what they
/// were.
class KeptRows
{
public:
    /// All rows that say something under the role.
    KeptRows(const QAbstractItemModel &model, int role)
        : m_model(model)
        , m_role(role)
    {
        QList<QModelIndex> open{QModelIndex()};
        while (!open.isEmpty()) {
            const QModelIndex parent = open.takeLast();
            const QString text = parent.data(role).toString();
            if (!text.isEmpty())
                m_rows.insert(text, parent);
            for (int row = 0; row < model.rowCount(parent); ++row)
                open.append(model.index(row, 0, parent));
        }
    }

    /// What the rows said that are gone, or that say something else now.
    QStringList lost() const
    {
        m_model.rowCount(); // a burst of changes is told when somebody asks
        QStringList texts;
        for (auto it = m_rows.cbegin(); it != m_rows.cend(); ++it) {
            if (!it->isValid() || it->data(m_role).toString() != it.key())
                texts.append(it.key());
        }
        return texts;
    }

private:
    const QAbstractItemModel &m_model;
    int m_role;
    QHash<QString, QPersistentModelIndex> m_rows;
};

} // namespace support
