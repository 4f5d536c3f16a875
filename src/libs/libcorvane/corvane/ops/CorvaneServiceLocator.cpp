#include <corvane/ops/CorvaneServiceLocator.h>

#include <corvane/model/Corvane.h>
#include <corvane/ops/CorvaneOpExecutor.h>

namespace corvane::ops {

CorvaneServiceLocator &CorvaneServiceLocator::instance()
{
    static CorvaneServiceLocator locator;
    return locator;
}

CorvaneOpExecutor *CorvaneServiceLocator::executor() const
{
    return m_executor;
}

void CorvaneServiceLocator::setExecutor(CorvaneOpExecutor *executor)
{
    m_executor = executor;
}

void CorvaneServiceLocator::clear()
{
    m_executor.clear();
    m_scene.clear();
    m_cameraBridge.clear();
    m_unresolvedExpressionCount = 0;
}

} // namespace corvane::ops
