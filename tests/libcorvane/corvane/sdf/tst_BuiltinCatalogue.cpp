// The files that ship with the program: all of them, under their names, with the parameters that
// scenes rely on.
#include "DefinitionRunner.h"

#include <corvane/registry/Registry.h>

#include <QHash>
#include <QRegularExpression>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace corvane::registry;

Q_DECLARE_METATYPE(corvane::registry::DefinitionPtr)

namespace {

/// All ids by category, in the order in which the palette shows them.
constexpr QLatin1StringView categories[] = {
    "Basic: sphere box round_box torus cylinder cone plane capsule hexagonal_prism pyramid"_L1,
    "Advanced: ellipsoid octahedron pipe tetrahedron capped_torus dodecahedron icosahedron link "
    "box_frame vesica "
    "cut_sphere rhombus round_cone solid_angle"_L1,
    "Mechanical: involute_gear threaded_rod acme_threaded_rod"_L1,
    "Lattice: gyroid schwarz_p schwarz_d neovius lidinoid iwp lattice_bcc lattice_fcc "
    "lattice_octet lattice_voronoi "
    "lattice_kelvin"_L1,
    "Aerospace: naca_4series_airfoil naca_5series_airfoil cst_airfoil parsec_airfoil"_L1,
    "Field: linear_gradient radial_gradient simplex_noise"_L1,
    "CSG: union subtract intersect additive_blend chamfer_union chamfer_intersect xor"_L1,
    "Smooth: smooth_union smooth_subtract smooth_intersect"_L1,
    "Transform: translate rotate scale mirror revolve extrude noise_displacement loft domain_warp domain_fold sweep"_L1,
    "Deform: twist bend taper"_L1,
    "Repeat: linear_repeat radial_repeat grid_repeat"_L1,
    "Modifier: round onion elongate dilate erode closing opening"_L1,
};

/// Parameters that scenes rely on: name, default, minimum, maximum.
constexpr QLatin1StringView parameterTable[] = {
    "sphere: radius 10 0.001 100000"_L1,
    "box: width 10 0.001 100000, height 10 0.001 100000, depth 10 0.001 100000"_L1,
    "gyroid: cellSize 10 0.1 10000, thickness 1 0.01 1000"_L1,
    "lattice_voronoi: cellSize 10 0.1 10000, wallThickness 0.5 0.001 1000"_L1,
    "lattice_kelvin: cellSize 10 0.1 10000, strutRadius 0.5 0.001 1000"_L1,
    "involute_gear: pitch_diameter 20 1 10000, teeth 16 4 200, pressure_angle 20 5 35, thickness 5 "
    "0.1 10000, "
    "bore_diameter 4 0 10000"_L1,
    "threaded_rod: major_diameter 10 1 200, pitch 1.5 0.1 20, rod_length 40 0.5 100000, thread_angle 60 10 90"_L1,
    "acme_threaded_rod: major_diameter 12 1 200, pitch 3 0.5 20, rod_length 40 0.5 100000, starts 1 1 6"_L1,
    "naca_4series_airfoil: chord 100 1 100000, span 200 1 100000, max_camber 0.04 0 0.15, "
    "max_camber_pos 0.4 0.05 0.95, "
    "max_thickness 0.12 0.02 0.3"_L1,
    "naca_5series_airfoil: chord 100 1 100000, span 200 1 100000, design_lift 0.3 0.05 1, "
    "max_camber_pos 0.15 0.05 0.25, "
    "max_thickness 0.12 0.02 0.3, reflex 0 0 1"_L1,
    "cst_airfoil: chord 100 1 100000, span 200 1 100000, b_upper_0 0.17 -0.5 0.5, b_upper_1 0.17 "
    "-0.5 0.5, "
    "b_upper_2 0.17 -0.5 0.5, b_lower_0 -0.17 -0.5 0.5, b_lower_1 -0.17 -0.5 0.5, b_lower_2 -0.17 -0.5 0.5"_L1,
    "parsec_airfoil: chord 100 1 100000, span 200 1 100000, le_radius 0.0158 0.0001 0.1, x_max 0.3 "
    "0.05 0.8, "
    "z_max 0.06 0.005 0.2, z_xx_max -0.45 -5 -0.01, te_angle 10 0.5 30"_L1,
    "linear_gradient: axis 0/1/0 -1 1, offset 0 -100000 100000"_L1,
    "radial_gradient: center 0/0/0 -100000 100000, radius 10 0.001 100000"_L1,
    "simplex_noise: frequency 1 0.001 1000, amplitude 1 0 1000, octaves 4 1 8"_L1,
    "additive_blend: smoothness 1 0 10"_L1,
    "chamfer_union: smoothness 0.1 0 2"_L1,
    "chamfer_intersect: smoothness 0.1 0 2"_L1,
    "smooth_union: smoothness 0.1 0 2"_L1,
    "smooth_subtract: smoothness 0.1 0 2"_L1,
    "smooth_intersect: smoothness 0.1 0 2"_L1,
    "twist: amount 1 -10 10"_L1,
    "bend: amount 0.5 -5 5"_L1,
    "taper: amount 0.5 -2 2"_L1,
    "round: radius 0.1 0 1"_L1,
    "onion: thickness 0.05 0.001 0.5"_L1,
    "elongate: amount_x 0 0 5, amount_y 0 0 5, amount_z 0 0 5"_L1,
    "dilate: amount 0.1 0 2"_L1,
    "erode: amount 0.1 0 2"_L1,
    "closing: radius 0.1 0 1"_L1,
    "opening: radius 0.1 0 1"_L1,
    "linear_repeat: spacing 2 0.1 50, count 3 0 100, axis 0 0 2"_L1,
    "radial_repeat: count 6 1 64, radius 2 0 10, axis 1 0 2"_L1,
    "grid_repeat: spacing 2/2/2 0.001 100000"_L1,
    "translate: offset 0/0/0 -100000 100000"_L1,
    "rotate: angles 0/0/0 -180 180"_L1,
    "scale: factor 1 0.01 10"_L1,
    "mirror: mirrorX 1 0 1, mirrorY 0 0 1, mirrorZ 0 0 1"_L1,
    "revolve: offset 1 0 5"_L1,
    "extrude: height 1 0.001 5"_L1,
    "noise_displacement: amplitude 0.1 0 2, frequency 5 0.1 20"_L1,
    "loft: height 1 0.001 5, topScale 0.5 0 2"_L1,
    "domain_warp: amplitude 0.3 0 5, frequency 3 0.1 20"_L1,
    "domain_fold: folds 6 2 24, offset 0 0 5"_L1,
    "sweep: radius 2 0.01 10, angle 360 1 360"_L1,
};

} // namespace

class TstBuiltinCatalogue : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void allAreThere_data();
    void allAreThere();
    void thereAreNoOthers();
    void parametersMatchTheSignature_data();
    void parametersMatchTheSignature();
    void parametersAreAsPublished_data();
    void parametersAreAsPublished();
    void noTwoShareAFunction();

private:
    std::unique_ptr<Registry> m_registry;
};

void TstBuiltinCatalogue::initTestCase()
{
    m_registry = std::make_unique<Registry>();
    m_registry->loadBuiltinPrimitives();
}

void TstBuiltinCatalogue::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

void TstBuiltinCatalogue::allAreThere_data()
{
    QTest::addColumn<QString>("category");
    for (const QLatin1StringView line : categories) {
        const QStringList parts = QString(line).split(u": "_s);
        const QStringList ids = parts[1].split(u' ');
        for (const QString &id : ids)
            QTest::newRow(id.toUtf8()) << parts[0];
    }
}

void TstBuiltinCatalogue::allAreThere()
{
    QFETCH(const QString, category);
    const QString id = QString::fromUtf8(QTest::currentDataTag());
    const DefinitionPtr definition = m_registry->getDefinition(id);
    QVERIFY(definition);
    QVERIFY(definition->isValid());
    QVERIFY(definition->enabled);
    QVERIFY(definition->isFromResources());
    QCOMPARE(definition->category, category);
    QCOMPARE(definition->version, u"1.0.0"_s);
    QVERIFY(definition->nodeType != NodeType::Unknown);
    QVERIFY(!definition->description.isEmpty());
    QVERIFY(!definition->tags.isEmpty());
    QCOMPARE(definition->nodeType == NodeType::CSGOperator, !definition->blend.isEmpty());
    const auto sdf = u"sdf_"_s + id, field = u"field_"_s + id;
    if (definition->nodeType == NodeType::Primitive)
        QCOMPARE(definition->primaryFunctionName, sdf);
    if (definition->nodeType == NodeType::ScalarField)
        QCOMPARE(definition->primaryFunctionName, field);
}

void TstBuiltinCatalogue::thereAreNoOthers()
{
    QHash<NodeType, int> counts;
    int wrapped = 0;
    const auto definitions = m_registry->getAllPrimitives();
    for (const DefinitionPtr &definition : definitions) {
        ++counts[definition->nodeType];
        wrapped +=
            definition->convenienceWrappers == QStringList{u"translate"_s, u"rotate"_s, u"scale"_s}
                ? 1
                : 0;
    }
    QCOMPARE(definitions.size(), 79);
    QCOMPARE(counts[NodeType::Primitive], 42);
    QCOMPARE(counts[NodeType::ScalarField], 3);
    QCOMPARE(counts[NodeType::CSGOperator], 10);
    QCOMPARE(counts[NodeType::DistanceModifier], 7);
    QCOMPARE(counts[NodeType::PositionAwareModifier], 4);
    QCOMPARE(counts[NodeType::PositionTransform], 13);
    QCOMPARE(wrapped, 69);
}

void TstBuiltinCatalogue::parametersMatchTheSignature_data()
{
    QTest::addColumn<DefinitionPtr>("definition");
    const auto definitions = m_registry->getAllPrimitives();
    for (const DefinitionPtr &definition : definitions)
        QTest::newRow(definition->id.toUtf8()) << definition;
}

void TstBuiltinCatalogue::parametersMatchTheSignature()
{
    QFETCH(const DefinitionPtr, definition);
    static const QHash<NodeType, int> leading{{NodeType::CSGOperator, 2},
                                              {NodeType::PositionAwareModifier, 2}};
    QStringList types;
    qsizetype slots_ = 0;
    for (const ParameterDef &parameter : std::as_const(definition->parameters)) {
        QVERIFY(!parameter.displayName.isEmpty());
        if (parameter.isChildParameter())
            continue;
        const bool isVector = parameter.type == SDFParameterType::Vec3;
        types += isVector ? u"vec3"_s : u"float"_s;
        slots_ += isVector ? 3 : 1;
        const QList<double> values = numbersOf(parameter.defaultValue);
        QCOMPARE(values.size(), isVector ? 3 : 1);
        for (const double value : values) {
            QVERIFY2(value >= parameter.minValue.toDouble() &&
                         value <= parameter.maxValue.toDouble(),
                     qPrintable(parameter.name));
        }
    }
    QCOMPARE(definition->parameterTypes.mid(leading.value(definition->nodeType, 1)), types);
    QVERIFY2(slots_ <= 8, "a node record has room for eight numbers");
}

void TstBuiltinCatalogue::parametersAreAsPublished_data()
{
    QTest::addColumn<QString>("parameters");
    for (const QLatin1StringView line : parameterTable) {
        const QStringList parts = QString(line).split(u": "_s);
        QTest::newRow(parts[0].toUtf8()) << parts[1];
    }
}

void TstBuiltinCatalogue::parametersAreAsPublished()
{
    QFETCH(const QString, parameters);
    const DefinitionPtr definition =
        m_registry->getDefinition(QString::fromUtf8(QTest::currentDataTag()));
    QVERIFY(definition);
    QStringList found;
    for (const ParameterDef &parameter : std::as_const(definition->parameters)) {
        if (parameter.isChildParameter())
            continue;
        QStringList values;
        const QList<double> defaults = numbersOf(parameter.defaultValue);
        for (const double value : defaults)
            values += QString::number(value);
        found += u"%1 %2 %3 %4"_s.arg(parameter.name, values.join(u'/'),
                                      QString::number(parameter.minValue.toDouble()),
                                      QString::number(parameter.maxValue.toDouble(), 'g', 9));
    }
    QCOMPARE(found.join(u", "_s), parameters);
}

void TstBuiltinCatalogue::noTwoShareAFunction()
{
    const auto conflicts = m_registry->functionConflicts();
    for (const FunctionConflict &conflict : conflicts)
        QFAIL(qPrintable(conflict.message));
}

QTEST_APPLESS_MAIN(TstBuiltinCatalogue)
#include "tst_BuiltinCatalogue.moc"
