#include <corvane/aa/NamedStrategy.h>

#include <corvane/aa/AntialiasMenu.h>

namespace corvane::aa {

QString NamedStrategy::displayName() const
{
    return AntialiasMenu::textOf(m_id);
}

} // namespace corvane::aa
