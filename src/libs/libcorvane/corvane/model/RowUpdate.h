#pragma once

#include <corvane/model/RowModel.h>

#include <QHash>
#include <QList>
#include <QSet>

#include <algorithm>
#include <vector>

namespace corvane::model {

/// Where a record of a row keeps its place; for those that keep it to themselves a specialization
/// says so.
template<class Row>
struct RowFields
{
    static Row *&parent(Row &row) { return row.parent; }
    static QList<Row *> &children(Row &row) { return row.children; }
    static int &row(Row &row) { return row.row; }
};

/// Makes the rows of a model those that are wanted: inserts, moves and removes what differs, so
/// that views keep what they have expanded and selected.
///
/// Level by level from the top. Of the rows that stay below a parent the longest run in order is
/// left where it is, and the others are moved; a row may come from another parent. What is not
/// wanted goes at the end, since until then a later parent may want it. Linear in the rows that are
/// looked at, where little differs.
///
/// `Host` is a RowModel with `Row`, a record that RowFields knows, and `RowKey`, by which siblings
/// are told apart, and with the functions
///   - bool isRead(const Row &): whether views may know what stands below it;
///   - QList<RowKey> wantedBelow(const Row &), RowKey keyOf(const Row &);
///   - Row *rowElsewhere(const RowKey &): the one row that may be moved to a place of that key;
///   - Row *makeRow(const Row &parent, qsizetype index): for the wanted row of that index;
///   - void dropRow(Row *), which takes those below along;
///   - void match(Row &parent, const QList<Row *> &placed): these are the rows that it wanted;
///   - QModelIndex indexOfRow(const Row *).
template<class Host>
class RowUpdate
{
public:
    using Row = typename Host::Row;
    using Key = typename Host::RowKey;

    explicit RowUpdate(Host &host)
        : m_host(host)
        , m_model(host)
    {}

    void run(Row &root)
    {
        QList<Row *> parents{&root};
        for (qsizetype next = 0; next < parents.size(); ++next) {
            Row &parent = *parents.at(next);
            if (!m_host.isRead(parent))
                continue;
            m_updated.insert(&parent);
            place(parent);
            parents += m_placed;
        }
        for (Row *parent : std::as_const(parents)) {
            if (m_updated.contains(parent))
                removeOthers(*parent);
        }
    }

private:
    using Fields = RowFields<Row>;

    void place(Row &parent)
    {
        const QList<Key> wanted = m_host.wantedBelow(parent);
        const QList<Row *> present = presentRows(parent, wanted);
        const std::vector<bool> stays = longestRun(present);
        m_placed.clear();
        int at = 0; // behind the row that was placed last
        for (qsizetype i = 0; i < wanted.size(); ++i) {
            Row *row = present.at(i);
            if (!row)
                row = fromElsewhere(wanted.at(i));
            if (!row) {
                const qsizetype end = endOfNew(wanted, present, i);
                insert(parent, at, i, end);
                i = end - 1;
                at = Fields::row(*m_placed.last()) + 1;
                continue;
            }
            if (!stays[std::size_t(i)])
                move(*row, parent, at);
            keep(row);
            at = Fields::row(*row) + 1;
        }
        m_host.match(parent, m_placed);
    }

    /// Of each wanted row the one that stands below the parent already; null for none.
    QList<Row *> presentRows(Row &parent, const QList<Key> &wanted)
    {
        QHash<Key, Row *> byKey;
        byKey.reserve(Fields::children(parent).size());
        for (Row *child : Fields::children(parent)) {
            if (!m_kept.contains(child))
                byKey.insert(m_host.keyOf(*child), child);
        }
        QList<Row *> rows;
        rows.reserve(wanted.size());
        for (const Key &key : wanted)
            rows.append(byKey.take(key));
        return rows;
    }

    /// Marks a longest increasing subsequence of the rows' places (Fredman 1975: the smallest end
    /// of a run of each length).
    static std::vector<bool> longestRun(const QList<Row *> &rows)
    {
        std::vector<qsizetype> ends; // of the runs of length 1, 2, ...
        std::vector<qsizetype> before(std::size_t(rows.size()), -1);
        for (qsizetype i = 0; i < rows.size(); ++i) {
            if (!rows.at(i))
                continue;
            const auto longer =
                std::lower_bound(ends.begin(), ends.end(), i, [&rows](qsizetype a, qsizetype b) {
                    return Fields::row(*rows.at(a)) < Fields::row(*rows.at(b));
                });
            if (longer != ends.begin())
                before[std::size_t(i)] = *(longer - 1);
            if (longer == ends.end())
                ends.push_back(i);
            else
                *longer = i;
        }
        std::vector<bool> stays(std::size_t(rows.size()), false);
        for (qsizetype i = ends.empty() ? -1 : ends.back(); i >= 0; i = before[std::size_t(i)])
            stays[std::size_t(i)] = true;
        return stays;
    }

    Row *fromElsewhere(const Key &key)
    {
        Row *row = m_host.rowElsewhere(key);
        return row && !m_kept.contains(row) ? row : nullptr;
    }

    qsizetype endOfNew(const QList<Key> &wanted, const QList<Row *> &present, qsizetype begin)
    {
        qsizetype end = begin + 1;
        while (end < wanted.size() && !present.at(end) && !fromElsewhere(wanted.at(end)))
            ++end;
        return end;
    }

    void keep(Row *row)
    {
        m_kept.insert(row);
        m_placed.append(row);
    }

    /// The wanted rows from `begin` to before `end`.
    void insert(Row &parent, int at, qsizetype begin, qsizetype end)
    {
        const int count = int(end - begin);
        m_model.beginInsertRows(m_host.indexOfRow(&parent), at, at + count - 1);
        Fields::children(parent).insert(at, count, nullptr);
        for (int i = 0; i < count; ++i) {
            Row *row = m_host.makeRow(parent, begin + i);
            Fields::parent(*row) = &parent;
            Fields::children(parent)[at + i] = row;
            keep(row);
        }
        renumber(parent, at, Fields::children(parent).size());
        m_model.endInsertRows();
    }

    void move(Row &row, Row &parent, int at)
    {
        Row &source = *Fields::parent(row);
        const int from = Fields::row(row);
        const bool isSame = &source == &parent;
        if (isSame && (at == from || at == from + 1))
            return;
        if (!m_model.beginMoveRows(m_host.indexOfRow(&source), from, from,
                                   m_host.indexOfRow(&parent), at))
            return;
        const int to = isSame && from < at ? at - 1 : at;
        Fields::children(source).removeAt(from);
        Fields::children(parent).insert(to, &row);
        Fields::parent(row) = &parent;
        renumber(source, isSame ? std::min(from, to) : from,
                 isSame ? std::max(from, to) + 1 : Fields::children(source).size());
        if (!isSame)
            renumber(parent, to, Fields::children(parent).size());
        m_model.endMoveRows();
    }

    void removeOthers(Row &parent)
    {
        int last = int(Fields::children(parent).size()) - 1;
        while (last >= 0) {
            int first = last;
            while (first >= 0 && !m_kept.contains(Fields::children(parent).at(first)))
                --first;
            if (first < last)
                remove(parent, first + 1, last);
            last = first - 1;
        }
    }

    void remove(Row &parent, int first, int last)
    {
        m_model.beginRemoveRows(m_host.indexOfRow(&parent), first, last);
        const QList<Row *> removed = Fields::children(parent).mid(first, last - first + 1);
        Fields::children(parent).remove(first, last - first + 1);
        renumber(parent, first, Fields::children(parent).size());
        for (Row *row : removed)
            m_host.dropRow(row);
        m_model.endRemoveRows();
    }

    static void renumber(Row &parent, qsizetype begin, qsizetype end)
    {
        for (qsizetype i = begin; i < end; ++i)
            Fields::row(*Fields::children(parent).at(i)) = int(i);
    }

    Host &m_host;
    RowModel &m_model;     ///< grants what tells of changes
    QSet<Row *> m_updated; ///< parents that are as wanted; a view may read others meanwhile
    QSet<Row *> m_kept;
    QList<Row *> m_placed; ///< below the parent at hand, in order
};

} // namespace corvane::model
