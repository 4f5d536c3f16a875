// Every definition that ships with the program, on every back-end there is, against descriptions of
// its own.
#include "DefinitionRunner.h"
#include "ReferenceOperators.h"
#include "ReferenceShapes.h"

#include <corvane/registry/Registry.h>

#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <array>
#include <cmath>
#include <memory>
#include <random>

using namespace Qt::StringLiterals;
using namespace corvane::registry;
using namespace reference;

Q_DECLARE_METATYPE(reference::PrimitiveCase)
Q_DECLARE_METATYPE(reference::CombinerCase)
Q_DECLARE_METATYPE(reference::TransformCase)
Q_DECLARE_METATYPE(reference::ModifierCase)
Q_DECLARE_METATYPE(eval::Backend)
Q_DECLARE_METATYPE(corvane::registry::DefinitionPtr)

namespace {

QByteArray backendName(eval::Backend backend)
{
    static constexpr const char *names[] = {"interpreted", "native", "gpu", "auto"};
    return names[std::size_t(backend)];
}

template<class Case>
void addRows(const char *column, const QList<Case> &cases)
{
    QTest::addColumn<eval::Backend>("backend");
    QTest::addColumn<Case>(column);
    const auto backends = DefinitionRunner::backends();
    for (const eval::Backend backend : backends) {
        for (const Case &row : cases) {
            const QString name =
                row.id + (row.variant.isEmpty() ? QString() : u": "_s + row.variant);
            QTest::newRow(backendName(backend) + ' ' + name.toUtf8()) << backend << row;
        }
    }
}

QList<PrimitiveCase> primitiveCases()
{
    return solidCases() + latticeCases() + mechanicalCases() + aerospaceCases() + fieldCases();
}

/// The same points on every run: all octants, the axes and the planes between them, close by and
/// far away.
QList<Vec3> samples(double reach, int count)
{
    std::mt19937 generator(20240229);
    std::uniform_real_distribution<double> unit(-1, 1);
    QList<Vec3> points{{}};
    for (int i = 0; i < count; ++i) {
        Vec3 p{unit(generator), unit(generator), unit(generator)};
        p = p * (i % 8 == 6 ? 10 * reach : i % 8 == 7 ? 0.3 * reach : reach);
        const int zeros = i % 8 < 6 ? std::array{0, 1, 2, 4, 6, 5}[std::size_t(i % 8)] : 0;
        // What the evaluation sees is a float; the reference has to be asked about the same point.
        points += {(zeros & 1) != 0 ? 0.0 : double(float(p.x)),
                   (zeros & 2) != 0 ? 0.0 : double(float(p.y)),
                   (zeros & 4) != 0 ? 0.0 : double(float(p.z))};
    }
    return points;
}

QByteArray describe(Vec3 p)
{
    return "at (" + QByteArray::number(p.x) + ", " + QByteArray::number(p.y) + ", " +
           QByteArray::number(p.z) + ')';
}

/// A QVERIFY2 that says where and what.
#define VERIFY_AT(condition, p, value, wanted)                                                     \
    QVERIFY2(condition, describe(p) + ": " + QByteArray::number(value) + ", wanted " +             \
                            QByteArray::number(wanted))

/// One value for each number that the definition's function takes.
QList<double> argumentsOf(const Definition &definition,
                          const std::function<QVariant(const ParameterDef &)> &value)
{
    QList<double> result;
    for (const ParameterDef &parameter : definition.parameters) {
        if (parameter.isChildParameter())
            continue;
        const QList<double> given = numbersOf(value(parameter));
        result += parameter.type == SDFParameterType::Vec3 && given.size() == 1
                      ? QList<double>(3, given[0])
                      : given;
    }
    return result;
}

bool isDistance(NodeType type)
{
    return type != NodeType::PositionTransform;
}

} // namespace

class TstBuiltinDefinitions : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void everyOneHasACase();

    void primitiveIsAsDescribed_data();
    void primitiveIsAsDescribed();
    void primitiveChangesNoFasterThanItsSlope_data();
    void primitiveChangesNoFasterThanItsSlope();
    void rowEqualsItsPoints_data();
    void rowEqualsItsPoints();
    void combinerIsAsDescribed_data();
    void combinerIsAsDescribed();
    void transformIsAsDescribed_data();
    void transformIsAsDescribed();
    void modifierIsAsDescribed_data();
    void modifierIsAsDescribed();
    void extremesStayFinite_data();
    void extremesStayFinite();
    void noiseIsSmoothAndBounded();
    void noiseScalesWithItsParameters();

private:
    std::unique_ptr<Registry> m_registry;
};

void TstBuiltinDefinitions::initTestCase()
{
    m_registry = std::make_unique<Registry>();
    m_registry->loadBuiltinPrimitives();
}

void TstBuiltinDefinitions::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

void TstBuiltinDefinitions::everyOneHasACase()
{
    QSet<QString> covered{u"simplex_noise"_s};
    const auto add = [&covered](const auto &cases) {
        for (const auto &row : cases)
            covered += row.id;
    };
    add(primitiveCases());
    add(combinerCases());
    add(transformCases());
    add(modifierCases());
    const auto definitions = m_registry->getAllPrimitives();
    for (const DefinitionPtr &definition : definitions)
        QVERIFY2(covered.contains(definition->id), qPrintable(definition->id));
}

void TstBuiltinDefinitions::primitiveIsAsDescribed_data()
{
    addRows("primitive", primitiveCases());
}

void TstBuiltinDefinitions::primitiveIsAsDescribed()
{
    QFETCH(const eval::Backend, backend);
    QFETCH(const PrimitiveCase, primitive);
    DefinitionRunner runner(*m_registry->getDefinition(primitive.id), primitive.arguments, backend);
    QCOMPARE(runner.error(), QString());
    const QList<Vec3> directions = samples(1, 32);
    const QList<Vec3> points = samples(primitive.reach, 500);
    for (const Vec3 &p : points) {
        const double value = runner.distance(p), wanted = primitive.field(p);
        const double tolerance = primitive.tolerance + 1e-6 * length(p);
        QVERIFY2(std::isfinite(value), describe(p) + ": " + runner.lastFault().toUtf8());
        if (primitive.promise == Promise::Exact || primitive.promise == Promise::Formula) {
            VERIFY_AT(std::abs(value - wanted) <= tolerance, p, value, wanted);
            continue;
        }
        VERIFY_AT(std::abs(wanted) < 5 * tolerance || (value < 0) == (wanted < 0), p, value,
                  wanted);
        if (primitive.promise == Promise::Bound) {
            VERIFY_AT(std::abs(value) <= std::abs(wanted) + tolerance, p, value, wanted);
            continue;
        }
        // Nothing of the other side may lie within the distance. A hundredth is left to the lead of
        // threads.
        const double clear = std::abs(value) * 0.99 - 1e-3;
        for (const Vec3 &direction : directions) {
            const double there = length(direction) > 0 && clear > 0
                                     ? primitive.field(p + direction * (clear / length(direction)))
                                     : value;
            VERIFY_AT(std::abs(there) < 1e-3 || (there < 0) == (value < 0), p, value, there);
        }
    }
}

void TstBuiltinDefinitions::primitiveChangesNoFasterThanItsSlope_data()
{
    QList<PrimitiveCase> cases = primitiveCases();
    cases.removeIf([](const PrimitiveCase &row) { return row.slope == 0; });
    addRows("primitive", cases);
}

void TstBuiltinDefinitions::primitiveChangesNoFasterThanItsSlope()
{
    QFETCH(const eval::Backend, backend);
    QFETCH(const PrimitiveCase, primitive);
    DefinitionRunner runner(*m_registry->getDefinition(primitive.id), primitive.arguments, backend);
    const QList<Vec3> points = samples(primitive.reach / 2, 800);
    const QList<Vec3> steps = samples(0.01, points.size());
    for (qsizetype i = 0; i < points.size(); ++i) {
        const double step = length(steps[i]);
        const double change =
            std::abs(runner.distance(points[i] + steps[i]) - runner.distance(points[i]));
        VERIFY_AT(change <= primitive.slope * step * 1.005 + 1e-4, points[i], change,
                  primitive.slope * step);
    }
}

void TstBuiltinDefinitions::rowEqualsItsPoints_data()
{
    addRows("primitive", primitiveCases());
}

void TstBuiltinDefinitions::rowEqualsItsPoints()
{
    QFETCH(const eval::Backend, backend);
    QFETCH(const PrimitiveCase, primitive);
    DefinitionRunner runner(*m_registry->getDefinition(primitive.id), primitive.arguments, backend);
    QList<float> xs;
    for (int i = 0; i < 67; ++i)
        xs += float(primitive.reach) * float(i - 33) / 33.0f;
    for (const float y : {-3.25f, 0.0f, 1.5f}) {
        for (const float z : {-0.75f, 0.0f, 4.0f}) {
            const QList<float> row = runner.row(xs, y, z);
            for (qsizetype i = 0; i < xs.size(); ++i) {
                const Vec3 p{xs[i], y, z};
                const float wanted = float(runner.distance(p));
                VERIFY_AT(row[i] == wanted, p, double(row[i]), double(wanted));
            }
        }
    }
}

void TstBuiltinDefinitions::combinerIsAsDescribed_data()
{
    addRows("combiner", combinerCases());
}

void TstBuiltinDefinitions::combinerIsAsDescribed()
{
    QFETCH(const eval::Backend, backend);
    QFETCH(const CombinerCase, combiner);
    DefinitionRunner runner(*m_registry->getDefinition(combiner.id), combiner.arguments, backend);
    QCOMPARE(runner.error(), QString());
    const QList<Vec3> points = samples(2, 400);
    for (const Vec3 &p : points) {
        const double value = runner.distance(p, p.x, p.y), wanted = combiner.value(p.x, p.y);
        VERIFY_AT(std::abs(value - wanted) < 1e-5, p, value, wanted);
    }
}

void TstBuiltinDefinitions::transformIsAsDescribed_data()
{
    addRows("transform", transformCases());
}

void TstBuiltinDefinitions::transformIsAsDescribed()
{
    QFETCH(const eval::Backend, backend);
    QFETCH(const TransformCase, transform);
    DefinitionRunner runner(*m_registry->getDefinition(transform.id), transform.arguments, backend);
    QCOMPARE(runner.error(), QString());
    QList<Vec3> points = samples(12, 400);
    // Where two copies are equally near, either of them will do.
    const bool turns = transform.id.startsWith("radial_"_L1) || transform.id == "domain_fold"_L1;
    points.removeIf([turns](Vec3 p) {
        return length(p) > 30 || (turns && p.x * p.y * p.z == 0) ||
               (p.x == 0 && p.y == 0 && p.z == 0);
    });
    for (const Vec3 &p : std::as_const(points)) {
        const Vec3 value = runner.position(p), wanted = transform.value(p);
        QVERIFY2(length(value - wanted) <= transform.tolerance,
                 describe(p) + ": " + describe(value) + ", wanted " + describe(wanted));
    }
}

void TstBuiltinDefinitions::modifierIsAsDescribed_data()
{
    addRows("modifier", modifierCases());
}

void TstBuiltinDefinitions::modifierIsAsDescribed()
{
    QFETCH(const eval::Backend, backend);
    QFETCH(const ModifierCase, modifier);
    DefinitionRunner runner(*m_registry->getDefinition(modifier.id), modifier.arguments, backend);
    QCOMPARE(runner.error(), QString());
    const QList<Vec3> points = samples(8, 200);
    for (const Vec3 &p : points) {
        for (const double d : {-3.0, -0.25, 0.0, 0.125, 5.0}) {
            const double value = runner.distance(p, d), wanted = modifier.value(p, d);
            VERIFY_AT(std::abs(value - wanted) <=
                          modifier.tolerance * std::max(1.0, std::abs(wanted)),
                      p, value, wanted);
        }
    }
}

void TstBuiltinDefinitions::extremesStayFinite_data()
{
    QTest::addColumn<eval::Backend>("backend");
    QTest::addColumn<DefinitionPtr>("definition");
    const auto backends = DefinitionRunner::backends();
    for (const eval::Backend backend : backends) {
        const auto definitions = m_registry->getAllPrimitives();
        for (const DefinitionPtr &definition : definitions)
            QTest::newRow(backendName(backend) + ' ' + definition->id.toUtf8())
                << backend << definition;
    }
}

void TstBuiltinDefinitions::extremesStayFinite()
{
    QFETCH(const eval::Backend, backend);
    QFETCH(const DefinitionPtr, definition);
    QList<Vec3> points = samples(1e5, 24) + samples(1e-6, 24) + samples(10, 24);
    const QList<QList<double>> choices{
        argumentsOf(*definition,
                    [](const ParameterDef &parameter) { return parameter.defaultValue; }),
        argumentsOf(*definition, [](const ParameterDef &parameter) { return parameter.minValue; }),
        argumentsOf(*definition, [](const ParameterDef &parameter) { return parameter.maxValue; }),
        QList<double>(8, 0.0),
        QList<double>(8, -1.0),
    };
    for (const QList<double> &arguments : choices) {
        DefinitionRunner runner(*definition, arguments, backend);
        QCOMPARE(runner.error(), QString());
        for (const Vec3 &p : std::as_const(points)) {
            const Vec3 moved = isDistance(definition->nodeType)
                                   ? Vec3{runner.distance(p, p.x, p.y), 0, 0}
                                   : runner.position(p);
            QVERIFY2(std::isfinite(length(moved)), describe(p) + " with first argument " +
                                                       QByteArray::number(arguments.value(0)) +
                                                       ": " + runner.lastFault().toUtf8());
        }
    }
}

void TstBuiltinDefinitions::noiseIsSmoothAndBounded()
{
    DefinitionRunner runner(*m_registry->getDefinition(u"simplex_noise"_s), {1, 1, 1});
    double least = 0, most = 0, sum = 0;
    QList<Vec3> points = samples(40, 4000);
    for (int i = -40; i < 40; ++i)
        points += Vec3{i * 0.37, i * 0.37, i * 0.37}; // where the simplices of a cube meet
    for (const Vec3 &p : std::as_const(points)) {
        const double value = runner.distance(p);
        const double change = std::abs(runner.distance(p + Vec3{0.004, -0.003, 0.005}) - value);
        VERIFY_AT(change < 0.06 && std::abs(value) <= 1, p, value, change);
        least = std::min(least, value);
        most = std::max(most, value);
        sum += value;
    }
    QVERIFY(least < -0.5 && most > 0.5);
    QVERIFY(std::abs(sum / double(points.size())) < 0.05);
}

void TstBuiltinDefinitions::noiseScalesWithItsParameters()
{
    const Definition &noise = *m_registry->getDefinition(u"simplex_noise"_s);
    DefinitionRunner plain(noise, {1, 1, 1}), strong(noise, {1, 3, 1}), fine(noise, {2, 1, 1}),
        rough(noise, {1, 1, 2});
    bool differs = false;
    const QList<Vec3> points = samples(20, 300);
    for (const Vec3 &p : points) {
        const double value = plain.distance(p);
        VERIFY_AT(std::abs(strong.distance(p) - 3 * value) < 1e-4, p, strong.distance(p),
                  3 * value);
        VERIFY_AT(std::abs(fine.distance(p * 0.5) - value) < 1e-4, p, fine.distance(p * 0.5),
                  value);
        const double second = rough.distance(p) - value;
        VERIFY_AT(std::abs(second) <= 0.5, p, second, 0.5);
        differs = differs || std::abs(second) > 0.1;
    }
    QVERIFY(differs);
}

QTEST_APPLESS_MAIN(TstBuiltinDefinitions)
#include "tst_BuiltinDefinitions.moc"
