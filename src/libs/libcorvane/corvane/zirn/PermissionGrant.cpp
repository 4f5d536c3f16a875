#include <corvane/zirn/PermissionGrant.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

bool PermissionGrant::isValid(const QDateTime &now) const
{
    return lifetime != GrantLifetime::Timed || (expiresAt.isValid() && now < expiresAt);
}

bool PermissionGrant::matches(const QString &askedScope) const
{
    if (askedScope == scope)
        return true;
    if (!scope.endsWith(".*"_L1))
        return false;
    const auto stem = QStringView(scope).chopped(1); // with its dot
    return askedScope.startsWith(stem) && !askedScope.mid(stem.size()).contains(u'.');
}

} // namespace corvane::zirn
