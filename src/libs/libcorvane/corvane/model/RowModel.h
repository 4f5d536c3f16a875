#pragma once

#include <QAbstractItemModel>

namespace corvane::model {

template<class Host>
class RowUpdate;

/// A tree model whose rows follow something else.
///
/// A burst of changes that nobody looks at in between is told as one: as soon as somebody asks from
/// the top, else when control is back in the event loop. Until then who comes with an index is
/// answered from the rows that the index is of.
class RowModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    using QAbstractItemModel::QAbstractItemModel;

protected:
    /// Brings the rows up to date, and tells how.
    virtual void updateRows() = 0;
    /// Something that rows depend on is different. Told at once when somebody has asked for rows
    /// since the last time.
    void touch();
    /// The same for what comes in pieces, of which only the last makes a whole.
    void touchLater();
    /// To be called by all that is asked without an index.
    void ask() const;
    /// The rows may be others than those that should be: what is to be said of one has to wait.
    bool isStale() const { return m_isStale; }
    /// The rows are up to date.
    void settle() { m_isStale = false; }

private:
    template<class Host>
    friend class RowUpdate;

    void update();

    bool m_isStale = false;
    bool m_isPosted = false;
    bool m_isUpdating = false;
    mutable bool m_wasAsked = false;
};

} // namespace corvane::model
