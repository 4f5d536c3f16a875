#pragma once

#include <QObject>
#include <QPointer>
#include <QSharedPointer>

namespace corvane::model {
class Corvane;
}

namespace corvane::ops {

class CorvaneOpExecutor;

/// The process-wide slot through which tasks reach the scene that is open.
///
/// Filled by whoever opens a scene, and cleared before that goes. Main thread; tasks on other
/// threads read it there.
class CorvaneServiceLocator
{
public:
    static CorvaneServiceLocator &instance();

    CorvaneOpExecutor *executor() const;
    void setExecutor(CorvaneOpExecutor *executor);
    QSharedPointer<model::Corvane> scene() const { return m_scene; }
    void setScene(const QSharedPointer<model::Corvane> &scene) { m_scene = scene; }
    /// Has the invokable methods `requestReset`, `requestFitContent` and `requestFitSelection`;
    /// none without a window.
    QObject *cameraBridge() const { return m_cameraBridge; }
    void setCameraBridge(QObject *bridge) { m_cameraBridge = bridge; }
    /// Expressions that could not be resolved when they were last counted.
    int unresolvedExpressionCount() const { return m_unresolvedExpressionCount; }
    void setUnresolvedExpressionCount(int count) { m_unresolvedExpressionCount = count; }

    /// Empties every slot.
    void clear();

private:
    CorvaneServiceLocator() = default;

    QPointer<CorvaneOpExecutor> m_executor;
    QSharedPointer<model::Corvane> m_scene;
    QPointer<QObject> m_cameraBridge;
    int m_unresolvedExpressionCount = 0;
};

} // namespace corvane::ops
