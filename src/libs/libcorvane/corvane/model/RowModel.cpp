#include <corvane/model/RowModel.h>

#include <QScopedValueRollback>

namespace corvane::model {

void RowModel::touch()
{
    m_isStale = true;
    if (m_wasAsked)
        update();
    else
        touchLater();
}

void RowModel::touchLater()
{
    m_isStale = true;
    if (std::exchange(m_isPosted, true))
        return;
    const auto late = [this] {
        m_isPosted = false;
        update();
    };
    QMetaObject::invokeMethod(this, late, Qt::QueuedConnection);
}

void RowModel::ask() const
{
    // Rows are as mutable as the scene that they show.
    const_cast<RowModel *>(this)->update();
    m_wasAsked = true;
}

void RowModel::update()
{
    if (!m_isStale || m_isUpdating)
        return;
    {
        const QScopedValueRollback guard(m_isUpdating, true);
        m_isStale = false;
        updateRows();
    }
    // Those who are told ask at once; who asks later has not seen what comes after this.
    m_wasAsked = false;
}

} // namespace corvane::model
