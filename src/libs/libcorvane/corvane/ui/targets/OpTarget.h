#pragma once

#include <corvane/lifecycle/SceneSession.h>
#include <corvane/ui/fields/FieldTarget.h>

#include <QPointer>

namespace corvane::ui {

/// A target in the open scene: all writing goes through the executor of edits, and drags are its
/// coalescing.
class OpTarget : public FieldTarget
{
    Q_OBJECT

public:
    /// @param session  not owned
    explicit OpTarget(lifecycle::SceneSession *session, QObject *parent = nullptr);
    ~OpTarget() override; ///< a drag that is under way is taken back

    void beginDrag(const QString &label) override;
    void endDrag() override;
    void cancelDrag() override;
    QString makeVariable(const QString &name) override;

protected:
    lifecycle::SceneSession *session() const { return m_session; }
    /// Applies ops as one step of undo, outside of a drag. False when one is refused: then none is
    /// done.
    bool apply(const QList<ops::CorvaneOp> &ops, const QString &label);
    /// Changed with what expressions give.
    void followValues();
    /// What the failing expression of a parameter or variable says; empty for none.
    QString failureOf(const QUuid &instanceId, const QString &name) const;

    /// Unit and range of a variable that is made of it.
    virtual QVariantMap variableEntry() const;

private:
    void followExpressions(expr::ExpressionManager *expressions);

    const QPointer<lifecycle::SceneSession> m_session;
    bool m_isDragging = false;
};

/// What is wrong with a name for a new variable, in words for the user; empty when nothing is.
QString whyNoVariableName(const model::Corvane &document, const QString &name);

} // namespace corvane::ui
