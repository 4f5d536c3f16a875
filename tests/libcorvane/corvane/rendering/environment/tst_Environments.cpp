#include <corvane/rendering/environment/EnvironmentRegistry.h>
#include <corvane/rendering/environment/PhysicalSkyEnvironment.h>
#include <corvane/rendering/environment/SunDriver.h>
#include <eval/Graph.h>
#include <shader/compileShader.h>

#include <QRegularExpression>
#include <QTest>

#include <array>
#include <cmath>

using namespace Qt::StringLiterals;
using corvane::rendering::azElToDir;
using corvane::rendering::EnvironmentRegistry;
using corvane::rendering::PhysicalSkyEnvironment;
using corvane::shader::IEnvironment;
using corvane::shader::Light;

namespace {

struct ColorCase
{
    QString id;
    QVariantMap settings{};
    QVector3D direction;
    QVector3D color;
};

QString environmentParameter(int index)
{
    return u"envParam%1"_s.arg(index);
}

/// The text of a snippet, run by the field language: an evaluator that knows nothing of shaders.
QVector3D sampled(const IEnvironment &environment, const QVector3D &direction)
{
    QString snippet = environment.sampleSnippet();
    snippet.replace(u"(vec3 dir)"_s, u"(vec3 dir, vec4 envParam0, vec4 envParam1)"_s);
    eval::Graph graph;
    const auto dir = graph.declareInput(u"dir"_s, eval::Type::Vec3);
    const auto first = graph.declareInput(environmentParameter(0), eval::Type::Vec4);
    const auto second = graph.declareInput(environmentParameter(1), eval::Type::Vec4);
    const auto color = graph.declareOutput(
        u"color"_s, snippet + u"\nsampleEnvironment(dir, envParam0, envParam1)"_s);
    auto compiled = graph.compile(eval::Backend::Interpreted);
    if (!compiled) {
        qWarning() << "no program for" << environment.id();
        return {};
    }
    eval::Program program = compiled.value();
    std::array<float, 16> values{};
    environment.fillUniforms(values.data(), int(values.size()));
    program.set(dir, direction.normalized());
    program.set(first, QVector4D(values[0], values[1], values[2], values[3]));
    program.set(second, QVector4D(values[4], values[5], values[6], values[7]));
    if (!program.evaluate())
        qWarning() << "no value of" << environment.id();
    return program.get(color).value<QVector3D>();
}

/// The sky's formulas of its description, written out once more.
QVector3D expectedSky(const QVector3D &dir, const QVector3D &sun, float intensity, float turbidity,
                      float albedo)
{
    const auto mix = [](const QVector3D &a, const QVector3D &b, float t) {
        return a * (1.0f - t) + b * t;
    };
    const auto step = [](float low, float high, float x) {
        const float t = std::clamp((x - low) / (high - low), 0.0f, 1.0f);
        return t * t * (3 - 2 * t);
    };
    const float height = std::max(dir.y(), 0.0f);
    const QVector3D haze(0.7f, 0.75f, 0.8f);
    QVector3D sky = mix(haze, {0.18f, 0.35f, 0.65f}, 1 - std::exp(-4 * height));
    sky = mix(sky, haze, std::clamp((turbidity - 1) / 9, 0.0f, 1.0f) * (1 - height));
    const float low = 1 - std::clamp(sun.y() * 3, 0.0f, 1.0f);
    sky = mix(sky, mix(sky, {1.0f, 0.4f, 0.1f}, 0.4f), low * (1 - height));
    const float glow = std::pow(std::max(QVector3D::dotProduct(dir, sun), 0.0f), 128 / turbidity) *
                       step(-0.01f, 0.05f, dir.y());
    const QVector3D sunColor = mix({1.0f, 0.9f, 0.7f}, {1.0f, 0.3f, 0.05f}, low);
    const float ambient = intensity * 0.15f;
    return mix(sky * ambient + sunColor * glow * intensity * 0.5f, albedo * sky * ambient * 0.5f,
               1 - step(-0.02f, 0.02f, dir.y()));
}

QSharedPointer<IEnvironment> created(const QString &id)
{
    return EnvironmentRegistry::instance().create(id);
}

} // namespace

Q_DECLARE_METATYPE(ColorCase)

class TstEnvironments : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void registryHasTheBuiltInOnesInOrder();
    void registryRefusesWhatItHas();
    void backgroundCompiles_data();
    void backgroundCompiles();
    void snippetGivesTheColor_data();
    void snippetGivesTheColor();
    void physicalSkyFollowsItsFormulas_data();
    void physicalSkyFollowsItsFormulas();
    void uniformsFillNoMoreThanAskedFor();
    void lights_data();
    void lights();
    void lightsFillNoMoreThanThereIsRoomFor();
    void theSunSetsSoftly();
    void settingsTellWhoListens();
    void eachSunDriverKeepsItsValues();
    void picturesHaveSettingsOfTheirOwn();
};

void TstEnvironments::registryHasTheBuiltInOnesInOrder()
{
    const QStringList ids = EnvironmentRegistry::instance().ids();
    QCOMPARE(ids, QStringList({u"flat-color"_s, u"gradient-sky"_s, u"physical-sky"_s,
                               u"debug-octant"_s, u"brand-lighting"_s}));
    for (const QString &id : ids) {
        const auto environment = created(id);
        QCOMPARE(environment->id(), id);
        QVERIFY(!environment->displayName().isEmpty() && !environment->description().isEmpty());
    }
    QVERIFY(!created(u"flat-colour"_s));
}

void TstEnvironments::registryRefusesWhatItHas()
{
    EnvironmentRegistry registry;
    const EnvironmentRegistry::Factory sky = [] { return created(u"physical-sky"_s); };
    QVERIFY(registry.registerEnvironment(sky));
    QVERIFY(!registry.registerEnvironment(sky));
    QVERIFY(!registry.registerEnvironment(nullptr));
    QVERIFY(!registry.registerEnvironment([] { return QSharedPointer<IEnvironment>(); }));
    QCOMPARE(registry.ids(), QStringList(u"physical-sky"_s));
}

void TstEnvironments::backgroundCompiles_data()
{
    QTest::addColumn<QString>("id");
    const QStringList ids = EnvironmentRegistry::instance().ids();
    for (const QString &id : ids)
        QTest::newRow(qPrintable(id)) << id;
}

void TstEnvironments::backgroundCompiles()
{
    QFETCH(QString, id);
    const QString source = created(id)->fragmentShaderSource();
    const auto result = shader::compileShader(source, QShader::FragmentStage, id);
    QVERIFY2(result.shader.isValid(), qPrintable(result.errorMessage));
}

void TstEnvironments::snippetGivesTheColor_data()
{
    QTest::addColumn<ColorCase>("row");
    const QVariant red = QVector3D(1, 0, 0);
    const QVariant blue = QVector3D(0, 0, 2);
    QTest::newRow("flat") << ColorCase{u"flat-color"_s, {{u"color"_s, red}}, {0, -1, 0}, {1, 0, 0}};
    const QVariantMap sky{{u"groundColor"_s, red}, {u"skyColor"_s, blue}};
    QTest::newRow("zenith") << ColorCase{u"gradient-sky"_s, sky, {0, 1, 0}, {0, 0, 2}};
    QTest::newRow("slope") << ColorCase{u"gradient-sky"_s, sky, {0, 3, 4}, {0.4f, 0, 1.2f}};
    QTest::newRow("below") << ColorCase{u"gradient-sky"_s, sky, {1, -1, 0}, {1, 0, 0}};
    QTest::newRow("octant +-+") << ColorCase{
        u"debug-octant"_s, {}, {1, -1, 1}, {0.75f, 0.12f, 0.75f}};
    QTest::newRow("octant -+-") << ColorCase{
        u"debug-octant"_s, {}, {-1, 1, -1}, {0.12f, 0.75f, 0.12f}};
    QTest::newRow("studio") << ColorCase{
        u"brand-lighting"_s, {}, {1, 1, 0}, {0.033f, 0.036f, 0.042f}};
}

void TstEnvironments::snippetGivesTheColor()
{
    QFETCH(ColorCase, row);
    const auto environment = created(row.id);
    for (auto it = row.settings.cbegin(); it != row.settings.cend(); ++it)
        QVERIFY(environment->setSetting(it.key(), it.value()));
    const QVector3D color = sampled(*environment, row.direction);
    QVERIFY2((color - row.color).length() < 1e-5f, qPrintable(QDebug::toString(color)));
}

void TstEnvironments::physicalSkyFollowsItsFormulas_data()
{
    QTest::addColumn<QVector3D>("direction");
    QTest::addColumn<double>("elevation");
    QTest::addColumn<double>("turbidity");
    QTest::newRow("zenith") << QVector3D(0, 1, 0) << 50.0 << 2.0;
    QTest::newRow("into the sun") << azElToDir(100, 50) << 50.0 << 2.0;
    QTest::newRow("beside the sun in haze") << azElToDir(90, 42) << 50.0 << 9.0;
    QTest::newRow("horizon") << QVector3D(1, 0.005f, 0) << 50.0 << 3.0;
    QTest::newRow("ground") << QVector3D(0.3f, -0.5f, 0.2f) << 50.0 << 3.0;
    QTest::newRow("sunset") << azElToDir(110, 4) << 2.0 << 4.0;
}

void TstEnvironments::physicalSkyFollowsItsFormulas()
{
    QFETCH(QVector3D, direction);
    QFETCH(double, elevation);
    QFETCH(double, turbidity);
    PhysicalSkyEnvironment sky;
    QVERIFY(sky.setSetting(u"turbidity"_s, turbidity));
    QVERIFY(sky.setSetting(u"groundAlbedo"_s, 0.4));
    QVERIFY(sky.setSetting(
        u"sunDriverSettings"_s,
        QVariantMap{{u"azimuth"_s, 100.0}, {u"elevation"_s, elevation}, {u"intensity"_s, 5.0}}));
    const QVector3D color = sampled(sky, direction);
    const QVector3D expected = expectedSky(direction.normalized(), azElToDir(100, elevation), 5.0f,
                                           float(turbidity), 0.4f);
    QVERIFY2((color - expected).length() < 1e-4f * std::max(1.0f, expected.length()),
             qPrintable(QDebug::toString(color) + QDebug::toString(expected)));
}

void TstEnvironments::uniformsFillNoMoreThanAskedFor()
{
    const auto sky = created(u"gradient-sky"_s);
    QVERIFY(sky->setSetting(u"skyColor"_s, QVector3D(0.1f, 0.2f, 0.3f)));
    std::array<float, 20> values{};
    values.fill(-1.0f);
    sky->fillUniforms(values.data(), 6);
    QCOMPARE(values[3], 1.0f);
    QCOMPARE(values[4], 0.1f);
    QCOMPARE(values[5], 0.2f);
    QCOMPARE(values[6], -1.0f);
    sky->fillUniforms(values.data(), 20);
    QCOMPARE(values[7], 1.0f);
    QCOMPARE(values[15], 0.0f);
    QCOMPARE(values[16], -1.0f);
    sky->fillUniforms(nullptr, -3);
}

void TstEnvironments::lights_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<int>("count");
    QTest::newRow("flat") << u"flat-color"_s << 0;
    QTest::newRow("gradient") << u"gradient-sky"_s << 0;
    QTest::newRow("sky") << u"physical-sky"_s << 1;
    QTest::newRow("octants") << u"debug-octant"_s << 0;
    QTest::newRow("studio") << u"brand-lighting"_s << 3;
}

void TstEnvironments::lights()
{
    QFETCH(QString, id);
    QFETCH(int, count);
    std::array<Light, corvane::shader::maxLightCount> filled{};
    QCOMPARE(created(id)->fillLights(filled.data(), int(filled.size())), count);
    for (int i = 0; i < int(filled.size()); ++i) {
        const auto &[x, y, z, w] = filled[i].direction;
        QVERIFY(std::abs(QVector3D(x, y, z).length() - (i < count ? 1.0f : 0.0f)) < 1e-5f);
        QVERIFY((filled[i].color[3] > 0.0f) == (i < count));
    }
}

void TstEnvironments::lightsFillNoMoreThanThereIsRoomFor()
{
    std::array<Light, 3> filled{};
    QCOMPARE(created(u"brand-lighting"_s)->fillLights(filled.data(), 2), 2);
    QCOMPARE(filled[2], Light());
    QCOMPARE(created(u"brand-lighting"_s)->fillLights(nullptr, -1), 0);
    QCOMPARE(created(u"physical-sky"_s)->fillLights(nullptr, 0), 0);
    const auto studio = created(u"brand-lighting"_s);
    QVERIFY(studio->setSetting(u"intensity"_s, 0.0));
    studio->fillLights(filled.data(), 1);
    QCOMPARE(filled[0].color[3], 0.0f);
}

void TstEnvironments::theSunSetsSoftly()
{
    PhysicalSkyEnvironment sky;
    Light light;
    const auto intensityAt = [&](double elevation) {
        sky.setSetting(u"sunDriverSettings.elevation"_s, elevation);
        sky.fillLights(&light, 1);
        return light.color[3];
    };
    const float full = sky.sunDriver().intensity();
    QCOMPARE(intensityAt(30.0), full);
    QVERIFY(std::abs(intensityAt(0.0) - 0.5f * full) < 1e-3f);
    QCOMPARE(intensityAt(-1.5), 0.0f);
    QCOMPARE(light.color[1], 168 / 255.0f);
}

void TstEnvironments::settingsTellWhoListens()
{
    PhysicalSkyEnvironment sky;
    int changes = 0;
    int refreshes = 0;
    sky.setSettingsChangedListener([&changes] { ++changes; });
    sky.setSettingsRefreshListener([&refreshes] { ++refreshes; });
    QVERIFY(sky.setSetting(u"turbidity"_s, 4.0));
    QVERIFY(sky.setSetting(u"turbidity"_s, 4.0)); // the same once more
    QVERIFY(!sky.setSetting(u"turbidity"_s, 40.0));
    QVERIFY(!sky.setSetting(u"sunDriverSettings.asimuth"_s, 4.0));
    QVERIFY(!sky.setSetting(u"sunDriverSettings"_s, 4.0));
    QCOMPARE(changes, 1);
    QVERIFY(sky.setSetting(u"sunDriverSettings.azimuth"_s, 4.0));
    QCOMPARE(changes, 2);
    QCOMPARE(refreshes, 0);
    QVERIFY(sky.setSetting(u"sunDriverId"_s, u"astronomical"_s));
    QCOMPARE(changes, 3);
    QCOMPARE(refreshes, 1);
}

void TstEnvironments::eachSunDriverKeepsItsValues()
{
    PhysicalSkyEnvironment sky;
    QVERIFY(sky.setSetting(u"sunDriverSettings.azimuth"_s, 77.0));
    QVERIFY(sky.setSetting(u"sunDriverId"_s, u"astronomical"_s));
    QCOMPARE(sky.sunDriver().id(), u"astronomical"_s);
    QVERIFY(!sky.setting(u"sunDriverSettings.azimuth"_s).isValid());
    QStringList names;
    for (const auto &definition : sky.settings())
        names.append(definition.name);
    QVERIFY(names.contains(u"sunDriverSettings.latitude"_s));
    QVERIFY(!sky.setSetting(u"sunDriverId"_s, u"lunar"_s));
    QVERIFY(sky.setSetting(u"sunDriverId"_s, u"manual"_s));
    QCOMPARE(sky.setting(u"sunDriverSettings.azimuth"_s).toDouble(), 77.0);
    QCOMPARE(sky.setting(u"sunDriverSettings"_s).toMap().value(u"azimuth"_s).toDouble(), 77.0);
}

void TstEnvironments::picturesHaveSettingsOfTheirOwn()
{
    const auto first = created(u"flat-color"_s);
    const auto second = created(u"flat-color"_s);
    QVERIFY(first->setSetting(u"color"_s, QVector3D(1, 1, 1)));
    QVERIFY(second->setting(u"color"_s) != first->setting(u"color"_s));
}

QTEST_GUILESS_MAIN(TstEnvironments)
#include "tst_Environments.moc"
