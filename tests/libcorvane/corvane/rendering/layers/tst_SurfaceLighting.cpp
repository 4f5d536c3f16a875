#include <corvane/rendering/environment/EnvironmentRegistry.h>
#include <corvane/rendering/layers/SurfaceLighting.h>
#include <corvane/shader/IEnvironment.h>

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::rendering;

namespace {

using Axes = std::array<QVector3D, 6>;

/// An environment whose function is not sound.
class BrokenEnvironment : public shader::IEnvironment
{
public:
    QString id() const override { return u"broken"_s; }
    QString displayName() const override { return id(); }
    QString description() const override { return {}; }
    QString sampleSnippet() const override
    {
        return u"vec3 sampleEnvironment(vec3 dir) { return sky; }"_s;
    }
    void fillUniforms(float *, int) const override {}
};

} // namespace

class TstSurfaceLighting : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void surroundingsAreWhatTheEnvironmentShows_data()
    {
        QTest::addColumn<QVariantMap>("settings");
        QTest::addColumn<Axes>("expected"); // +x, -x, +y, -y, +z, -z
        const QVector3D ground(0.5f, 0.25f, 0.125f), sky(0.1f, 0.2f, 0.9f);
        Axes flat, gradient, brand;
        flat.fill(sky);
        gradient.fill(ground);
        gradient[2] = sky;
        brand.fill({0.033f, 0.036f, 0.042f});
        QTest::newRow("flat-color") << QVariantMap{{u"color"_s, sky}} << flat;
        QTest::newRow("gradient-sky")
            << QVariantMap{{u"groundColor"_s, ground}, {u"skyColor"_s, sky}} << gradient;
        QTest::newRow("brand-lighting") << QVariantMap() << brand;
        constexpr float a = 0.12f, b = 0.75f;
        QTest::newRow("debug-octant")
            << QVariantMap() << Axes{QVector3D(b, b, b), QVector3D(a, b, b), QVector3D(b, b, b),
                                     QVector3D(b, a, b), QVector3D(b, b, b), QVector3D(b, b, a)};
    }
    void surroundingsAreWhatTheEnvironmentShows()
    {
        QFETCH(QVariantMap, settings);
        QFETCH(Axes, expected);
        const auto environment =
            EnvironmentRegistry::instance().create(QString::fromUtf8(QTest::currentDataTag()));
        for (auto setting = settings.cbegin(); setting != settings.cend(); ++setting)
            QVERIFY(environment->setSetting(setting.key(), setting.value()));
        const Axes seen = SurfaceLighting::seenAlongAxes(*environment);
        for (std::size_t i = 0; i < seen.size(); ++i)
            QVERIFY((seen[i] - expected[i]).length() < 1e-6f);
    }

    void aSunIsALightAndItsSkyIsBlueAbove()
    {
        const auto sky = EnvironmentRegistry::instance().create(u"physical-sky"_s);
        const SurfaceLighting lighting =
            SurfaceLighting::of(sky.get(), sky.get(), SurfaceLighting::Ambient::Environment);
        QCOMPARE(lighting.lightCount, 1);
        QVERIFY(lighting.lights[0].intensity > 0.0f);
        QVERIFY(std::abs(lighting.lights[0].direction.length() - 1.0f) < 1e-4f);
        const QVector3D above = lighting.environmentAxes[2];
        QVERIFY(above.z() > above.x() && above.x() > 0.0f);
        const SurfaceLighting none =
            SurfaceLighting::of(nullptr, nullptr, SurfaceLighting::Ambient::Lights);
        QCOMPARE(none.lightCount, 0);
        QCOMPARE(none.environmentAxes[2], QVector3D());
    }

    void aFunctionThatDoesNotCompileGivesNoLight()
    {
        QTest::ignoreMessage(
            QtWarningMsg,
            QRegularExpression(u"SurfaceLighting: environment broken gives no light: .*sky"_s));
        QCOMPARE(SurfaceLighting::seenAlongAxes(BrokenEnvironment()), Axes());
    }
};

QTEST_MAIN(TstSurfaceLighting)
#include "tst_SurfaceLighting.moc"
