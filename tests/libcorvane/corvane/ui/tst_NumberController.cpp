#include "FakeTarget.h"

#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/ui/fields/ComponentTarget.h>
#include <corvane/ui/fields/FieldMenu.h>
#include <corvane/ui/fields/NumberController.h>

#include <QRegularExpression>
#include <QTest>
#include <QVector3D>

using namespace Qt::StringLiterals;
using namespace corvane::ui;
using corvane::registry::DragSpec;
using Mapping = DragSpec::Mapping;
using Pace = NumberController::Pace;

namespace {

NumberSpec teeth()
{
    return {.name = u"Teeth"_s, .minimum = 4.0, .maximum = 200.0, .isWhole = true};
}

} // namespace

class TstNumberController : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void aTextIsTaken_data();
    void aTextIsTaken();
    void aTextIsRefused_data();
    void aTextIsRefused();
    void stepsGoByTheValuesOrder_data();
    void stepsGoByTheValuesOrder();
    void aDragFollowsItsMapping_data();
    void aDragFollowsItsMapping();
    void aDragIsOneStep();
    void aBoundValueDoesNotSlide();
    void aComponentBindsItsVector();
    void namesAreOffered();
    void aVariableGetsAName_data();
    void aVariableGetsAName();

private:
    corvane::model::Corvane m_scene;
    std::unique_ptr<corvane::expr::ExpressionManager> m_manager;
    ExpressionScope m_scope;
};

void TstNumberController::initTestCase()
{
    m_scene.setVariableEntry(u"width"_s, {.value = 40.0});
    m_scene.setVariableEntry(u"isRound"_s, {.value = true});
    m_manager = std::make_unique<corvane::expr::ExpressionManager>(&m_scene);
    m_manager->evaluateAll();
    m_scope.setManager(m_manager.get());
}

void TstNumberController::aTextIsTaken_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("shown");
    QTest::newRow("a number") << u" 2.50 "_s << 2.5 << u"2.5"_s;
    QTest::newRow("arithmetic") << u"12/3+1"_s << 5.0 << u"5"_s;
    QTest::newRow("a fraction of whole numbers") << u"1/4"_s << 0.25 << u"0.25"_s;
    QTest::newRow("a constant") << u"2*math.PI"_s << 2 * double(3.1415927f) << u"6.2831855"_s;
    QTest::newRow("a function") << u"max(2, 7)"_s << 7.0 << u"7"_s;
    QTest::newRow("a name in arithmetic") << u"width/2"_s << 20.0 << u"20"_s;
    QTest::newRow("an expression") << u"= width/2"_s << 20.0 << u"=width/2"_s;
    QTest::newRow("minus zero") << u"-0"_s << 0.0 << u"0"_s;
    QTest::newRow("large") << u"1e7"_s << 1e7 << u"10000000"_s;
    QTest::newRow("a float's tenth")
        << QString::number(double(0.1f), 'g', 17) << double(0.1f) << u"0.1"_s;
}

void TstNumberController::aTextIsTaken()
{
    QFETCH(const QString, text);
    FakeTarget target(1.0);
    NumberController field({.name = u"Radius"_s}, &target, &m_scope);
    QVERIFY2(field.submit(text), qPrintable(field.error()));
    QTEST(target.now.value.toDouble(), "value");
    QTEST(field.text(), "shown");
    QCOMPARE(target.writes, 1);
    QVERIFY(field.submit(field.text())); // as it is
    QCOMPARE(target.writes, 1);
}

void TstNumberController::aTextIsRefused_data()
{
    QTest::addColumn<NumberSpec>("spec");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("position");
    const NumberSpec above{.name = u"Wall"_s, .minimum = 0.4};
    const NumberSpec below{.name = u"Wall"_s, .maximum = 3.0};
    QTest::newRow("below a range")
        << teeth() << u"3"_s << u"Teeth must be between 4 and 200."_s << -1;
    QTest::newRow("a half of a whole")
        << teeth() << u"4.5"_s << u"Teeth must be a whole number."_s << -1;
    QTest::newRow("too small") << above << u"0.3"_s << u"Wall must be at least 0.4."_s << -1;
    QTest::newRow("too large") << below << u"3.01"_s << u"Wall must be at most 3."_s << -1;
    QTest::newRow("nothing") << teeth() << u" "_s
                             << u"Teeth needs a number, or = and an expression."_s << -1;
    QTest::newRow("a sign and nothing")
        << teeth() << u"="_s << u"An expression follows the sign =, such as =width/2."_s << -1;
    QTest::newRow("a name that is not")
        << teeth() << u"=widht*2"_s << u"Unknown name: widht"_s << 1;
    QTest::newRow("another type") << teeth() << u"=isRound"_s
                                  << u"Teeth needs a number; this gives a bool."_s << -1;
    QTest::newRow("an expression out of range")
        << teeth() << u"=width*10.0"_s
        << u"Teeth must be between 4 and 200. The expression gives 400."_s << -1;
}

void TstNumberController::aTextIsRefused()
{
    QFETCH(const NumberSpec, spec);
    QFETCH(const QString, text);
    FakeTarget target(10.0);
    NumberController field(spec, &target, &m_scope);
    QVERIFY(!field.submit(text));
    QTEST(field.error(), "error");
    QTEST(field.errorPosition(), "position");
    QCOMPARE(target.writes, 0);
    field.clearError();
    QVERIFY(field.error().isEmpty());
}

void TstNumberController::stepsGoByTheValuesOrder_data()
{
    QTest::addColumn<NumberSpec>("spec");
    QTest::addColumn<double>("from");
    QTest::addColumn<int>("steps");
    QTest::addColumn<int>("pace");
    QTest::addColumn<double>("to");
    const NumberSpec plain{.name = u"a"_s};
    const NumberSpec stepped{.name = u"a"_s, .step = 0.5};
    const auto row = [](const char *name, const NumberSpec &spec, double from, int steps, Pace pace,
                        double to) {
        QTest::newRow(name) << spec << from << steps << int(pace) << to;
    };
    row("tens", plain, 12, 1, Pace::Normal, 13);
    row("ones", plain, 4, -1, Pace::Normal, 3.9);
    row("zero", plain, 0, 1, Pace::Normal, 0.1);
    row("ten times", plain, 12, 1, Pace::Coarse, 22);
    row("a tenth", plain, 12, 1, Pace::Fine, 12.1);
    row("no dust", plain, 0.3, -1, Pace::Normal, 0.29);
    row("its own step", stepped, 4, 3, Pace::Normal, 5.5);
    row("whole", teeth(), 12, 1, Pace::Fine, 13);
    row("at the end", teeth(), 199, 5, Pace::Coarse, 200);
}

void TstNumberController::stepsGoByTheValuesOrder()
{
    QFETCH(const NumberSpec, spec);
    QFETCH(const double, from);
    QFETCH(const int, steps);
    QFETCH(const int, pace);
    FakeTarget target(from);
    NumberController field(spec, &target, &m_scope);
    QVERIFY(field.step(steps, Pace(pace)));
    QTEST(target.now.value.toDouble(), "to");
}

void TstNumberController::aDragFollowsItsMapping_data()
{
    QTest::addColumn<DragSpec>("spec");
    QTest::addColumn<DragRange>("range");
    QTest::addColumn<double>("from");
    QTest::addColumn<double>("pixels");
    QTest::addColumn<double>("to");
    const DragRange none{};
    const DragRange teethRange{.minimum = 4.0, .maximum = 200.0, .step = 1.0};
    const DragRange percent{.minimum = 0.0, .maximum = 100.0};
    const DragRange size{.minimum = 0.1, .maximum = 1000.0};
    const auto row = [](const char *name, const DragSpec &spec, const DragRange &range, double from,
                        double pixels, double to) {
        QTest::newRow(name) << spec << range << from << pixels << to;
    };
    const DragSpec bounded{.bounded = true};
    row("a range in 400 pixels", bounded, percent, 0, 400, 100);
    row("no further", bounded, percent, 50, 1000, 100);
    row("beyond, where it may", {.signLock = false}, percent, 50, -400, -50);
    row("whole steps", bounded, teethRange, 16, 10, 21);
    row("without a range", {}, none, 1, 100, 3.5);
    row("a ratio", {.mapping = Mapping::Multiplicative}, none, 10, 277, 20);
    row("and back", {.mapping = Mapping::Multiplicative}, none, 20, -277, 10);
    row("from nothing", {.mapping = Mapping::Multiplicative}, none, 0, 277, 0.999);
    row("below zero it grows, too", {.mapping = Mapping::Multiplicative}, none, -10, 277, -20);
    row("an order", {.mapping = Mapping::Logarithmic}, size, 1, 100, 10);
    row("half of what is left", {.mapping = Mapping::Exponential}, percent, 0, 277, 50);
    row("never across zero", bounded, {.minimum = -100.0, .maximum = 100.0}, 20, -200, 0.1);
    row("across, if it may", {.bounded = true, .signLock = false},
        {.minimum = -100.0, .maximum = 100.0}, 20, -200, -80);
    const DragSpec twoSided{.mapping = Mapping::SymmetricSignedLog, .signLock = false};
    row("even about its pivot", twoSided, none, 0, 200, 3.71);
    row("on both sides", twoSided, none, 0, -200, -3.71);
    row("no way at all", twoSided, none, 1.23456, 0, 1.23456);
}

void TstNumberController::aDragFollowsItsMapping()
{
    QFETCH(const DragSpec, spec);
    QFETCH(const DragRange, range);
    QFETCH(const double, from);
    QFETCH(const double, pixels);
    QFETCH(const double, to);
    const double reached = dragged(spec, range, from, pixels);
    QVERIFY2(qAbs(reached - to) <= 0.001 * qMax(1.0, qAbs(to)),
             qPrintable(QString::number(reached, 'g', 10)));
}

void TstNumberController::aDragIsOneStep()
{
    FakeTarget target(10.0);
    NumberController field({.name = u"Radius"_s, .drag = {.mapping = Mapping::Multiplicative}},
                           &target, &m_scope);
    QVERIFY(field.beginDrag());
    QVERIFY(!field.beginDrag());
    QCOMPARE(target.dragLabels, QStringList{u"Drag Radius"_s});
    field.dragTo(100, Pace::Normal);
    const double coarse = field.value();
    QVERIFY(coarse > 12.0);
    field.dragTo(110, Pace::Fine); // goes on from there
    QVERIFY(field.value() > coarse && field.value() < coarse * 1.005);
    field.endDrag();
    QCOMPARE(target.dragsEnded, 1);

    QVERIFY(field.beginDrag());
    field.dragTo(300, Pace::Normal);
    field.cancelDrag();
    QCOMPARE(target.dragsCancelled, 1);
    QVERIFY(field.value() < coarse * 1.005);
}

void TstNumberController::aBoundValueDoesNotSlide()
{
    FakeTarget target(10.0);
    NumberController field({.name = u"Radius"_s}, &target, &m_scope);
    QVERIFY(field.submit(u"=width"_s));
    QVERIFY(!field.step(1, Pace::Normal) && !field.beginDrag());
    QCOMPARE(field.value(), 40.0);
    target.now.failure = u"Unknown name: width"_s; // it went
    QCOMPARE(field.error(), u"Unknown name: width"_s);
    QVERIFY(field.submit(u"12"_s));
    QVERIFY(!field.state().isBound());
}

void TstNumberController::aComponentBindsItsVector()
{
    FakeTarget vector(QVector3D(1, 2, 3));
    ComponentTarget x(&vector, 0, 3);
    ComponentTarget y(&vector, 1, 3);
    NumberController field({.name = u"Y"_s}, &y, &m_scope);
    QCOMPARE(field.text(), u"2"_s);
    QVERIFY(field.submit(u"=width/2"_s));
    QCOMPARE(vector.now.expression, u"vec3(1.0, width/2, 3.0)"_s);
    QCOMPARE(field.text(), u"=width/2"_s);
    QVERIFY(!x.state().isBound());
    QVERIFY(x.write(7.5));
    QCOMPARE(vector.now.expression, u"vec3(7.5, width/2, 3.0)"_s);
    QVERIFY(field.submit(u"4"_s));
    QVERIFY(vector.now.expression.isEmpty());
    QCOMPARE(components(vector.now.value, 3), (QList<double>{7.5, 4, 3}));
    vector.now.expression = u"max(a, vec3(1, 2, 3))"_s;
    QCOMPARE(x.state().expression, u"(max(a, vec3(1, 2, 3))).x"_s);
}

void TstNumberController::namesAreOffered()
{
    const auto texts = [this](const QString &prefix) {
        QStringList found;
        for (const CompletionEntry &entry : m_scope.completions(prefix, 4))
            found.append(entry.text);
        return found;
    };
    QCOMPARE(texts(u"wi"_s), QStringList{u"width"_s});
    QCOMPARE(texts(u"math.TA"_s), QStringList{u"math.TAU"_s});
    QCOMPARE(texts(u"clam"_s), QStringList{u"clamp"_s});
    QCOMPARE(nameBefore(u"=2*math.P"_s, 9), u"math.P"_s);
    QCOMPARE(nameBefore(u"=2w"_s, 3), u"w"_s);
    QCOMPARE(m_scope.variablesOfType(corvane::expr::ExprType::Float), QStringList{u"width"_s});
    QCOMPARE(m_scope.variablesOfType(corvane::expr::ExprType::Bool), QStringList{u"isRound"_s});
}

void TstNumberController::aVariableGetsAName_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("name");
    QTest::newRow("words") << u"Pitch diameter"_s << u"pitch_diameter"_s;
    QTest::newRow("taken") << u"Width"_s << u"width2"_s;
    QTest::newRow("a digit first") << u"2nd radius"_s << u"nd_radius"_s;
    QTest::newRow("nothing of ours") << u"半径"_s << u"value"_s;
    QTest::newRow("a word of the language") << u"Float"_s << u"float_value"_s;
}

void TstNumberController::aVariableGetsAName()
{
    QFETCH(const QString, text);
    QTEST(variableNameFor(text, {u"width"_s}), "name");
}

QTEST_GUILESS_MAIN(TstNumberController)
#include "tst_NumberController.moc"
