#include <corvane/rendering/environment/DebugOctantEnvironment.h>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

DebugOctantEnvironment::DebugOctantEnvironment()
    : Environment({u"debug-octant"_s, u"Octants"_s, u"Eight colours that tell directions apart"_s,
                   u"debug-run"_s, u"env_debug_octant.glsl"_s},
                  {})
{}

} // namespace corvane::rendering
