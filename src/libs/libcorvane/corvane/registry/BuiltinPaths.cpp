#include <corvane/registry/BuiltinPaths.h>

using namespace Qt::StringLiterals;

namespace corvane::registry {

namespace {

QStringList primitiveIds()
{
    return u"sphere box round_box torus cylinder cone plane capsule hexagonal_prism pyramid "
           "ellipsoid octahedron pipe tetrahedron capped_torus dodecahedron icosahedron link "
           "box_frame vesica cut_sphere rhombus round_cone solid_angle "
           "involute_gear threaded_rod acme_threaded_rod "
           "gyroid schwarz_p schwarz_d neovius lidinoid iwp "
           "lattice_bcc lattice_fcc lattice_octet lattice_voronoi lattice_kelvin "
           "naca_4series_airfoil naca_5series_airfoil cst_airfoil parsec_airfoil "
           "linear_gradient radial_gradient simplex_noise"_s.split(u' ');
}

QStringList operatorIds()
{
    return u"union subtract intersect smooth_union smooth_subtract smooth_intersect "
           "additive_blend chamfer_union chamfer_intersect xor "
           "translate rotate scale mirror revolve extrude noise_displacement loft domain_warp "
           "domain_fold sweep twist bend taper linear_repeat radial_repeat grid_repeat"_s.split(
               u' ');
}

QStringList modifierIds()
{
    return u"round onion elongate dilate erode closing opening"_s.split(u' ');
}

} // namespace

QString BuiltinGroup::path(const QString &id) const
{
    return u":/sdf/"_s + folder + u'/' + id + ".yaml"_L1;
}

const std::array<BuiltinGroup, 3> &builtinGroups()
{
    static const std::array<BuiltinGroup, 3> groups{{
        {"primitives"_L1, "primitive"_L1, primitiveIds()},
        {"operators"_L1, "operator"_L1, operatorIds()},
        {"modifiers"_L1, "modifier"_L1, modifierIds()},
    }};
    return groups;
}

} // namespace corvane::registry
