#pragma once

#include <QLatin1StringView>

/// Names that decide where settings and caches lie: changing one loses what users have stored.
namespace Constants {

inline constexpr QLatin1StringView ORGANIZATION_NAME_PLAIN{"Ondrel"};
inline constexpr QLatin1StringView DOMAIN_NAME_PLAIN{"ondrel.localdomain"};
inline constexpr QLatin1StringView BRAND_NAME_PLAIN{"Ondrel"};

} // namespace Constants
