#include "ProgramPair.h"

#include <eval/internal/frontend/StructRegistry.h>
#include <eval/internal/interpreter/Interpreter.h>
#include <eval/internal/interpreter/Value.h>

#include <QMatrix4x4>
#include <QRegularExpression>
#include <QVector2D>
#include <QVector3D>
#include <QVector4D>

#include <limits>

using namespace Qt::StringLiterals;
using namespace eval::internal;
using eval::Type;

Q_DECLARE_METATYPE(eval::Type)

/// Values, and what keeps the walk over a tree within bounds. What the language computes is in
/// tests/data/eval.
class TstInterpreter : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void variantsBecomeValues_data();
    void variantsBecomeValues();
    void structsTakeMapsAndLists();
    void defaultsOfDoublingStructsStaySmall();
    void boundsAreFaults_data();
    void boundsAreFaults();
    void diagnosticsAreBounded();
    void unreportedFaultsFollowIeee_data();
    void unreportedFaultsFollowIeee();
    void laterDefinitionsReplaceEarlierOnes();
};

void TstInterpreter::variantsBecomeValues_data()
{
    QTest::addColumn<Type>("type");
    QTest::addColumn<QVariant>("variant");
    QTest::addColumn<QVariant>("back");
    const auto row = [](const char *name, Type type, const QVariant &variant,
                        const QVariant &back) { QTest::newRow(name) << type << variant << back; };
    row("float", Type::Float, 1.5, 1.5f);
    row("float from int", Type::Float, 3, 3.0f);
    row("float from text", Type::Float, u"2.5"_s, 2.5f);
    row("float from nothing", Type::Float, QVariant(), 0.0f);
    row("double keeps its digits", Type::Double, 0.1, 0.1);
    row("int cuts", Type::Int, -2.9, -2);
    row("int wraps", Type::Int, 4294967297.0, 1);
    row("int of nan", Type::Int, std::numeric_limits<double>::quiet_NaN(), 0);
    row("64 bits stay exact", Type::Int64, qlonglong(9007199254740993),
        qlonglong(9007199254740993));
    row("unsigned 64 bits", Type::Uint64, qulonglong(18446744073709551615u),
        qulonglong(18446744073709551615u));
    row("bool", Type::Bool, 0.25, true);
    row("vec2", Type::Vec2, QVector2D(1, 2), QVector2D(1, 2));
    row("vec3", Type::Vec3, QVector3D(1, 2, 3), QVector3D(1, 2, 3));
    row("vec4", Type::Vec4, QVector4D(1, 2, 3, 4), QVector4D(1, 2, 3, 4));
    row("vec3 from a shorter list", Type::Vec3, QVariantList{1, 2}, QVector3D(1, 2, 0));
    row("vec3 from a longer vector", Type::Vec3, QVector4D(1, 2, 3, 4), QVector3D(1, 2, 3));
    row("vec3 from a number", Type::Vec3, 4, QVector3D(4, 4, 4));
    row("ivec2", Type::IVec2, QVariantList{1.9, -3}, QVariantList{1, -3});
    row("bvec2", Type::BVec2, QVariantList{0, 5}, QVariantList{false, true});
    row("mat2", Type::Mat2, QVariantList{1, 2, 3, 4}, QVariantList{1.0f, 2.0f, 3.0f, 4.0f});
    row("mat4", Type::Mat4, QMatrix4x4(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16),
        QMatrix4x4(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16));
    row("mat2 of a number is diagonal", Type::Mat2, 3, QVariantList{3.0f, 0.0f, 0.0f, 3.0f});
    row("string", Type::String, u"word"_s, u"word"_s);
}

void TstInterpreter::variantsBecomeValues()
{
    QFETCH(Type, type);
    QFETCH(QVariant, variant);
    QFETCH(QVariant, back);
    const Value value = qvariantToValue(variant, type, {}, StructRegistry());
    QCOMPARE(value.type, type);
    QCOMPARE(valueToQVariant(value), back);
}

void TstInterpreter::structsTakeMapsAndLists()
{
    StructRegistry structs;
    structs.registerStruct({u"S"_s, {{u"a"_s, Type::Float, {}}, {u"b"_s, Type::Vec2, {}}}});
    const QVariantList wanted = {2.0f, QVector2D(3, 4)};
    for (const QVariant &variant : {QVariant(QVariantMap{{u"b"_s, QVector2D(3, 4)}, {u"a"_s, 2}}),
                                    QVariant(QVariantList{2, QVector2D(3, 4)})}) {
        const Value value = qvariantToValue(variant, Type::Struct, u"S"_s, structs);
        QCOMPARE(valueToQVariant(value).toList(), wanted);
    }
}

void TstInterpreter::defaultsOfDoublingStructsStaySmall()
{
    StructRegistry structs;
    structs.registerStruct({u"S0"_s, {{u"a"_s, Type::Float, {}}}});
    for (int i = 1; i <= 60; ++i) {
        const QString inner = u"S%1"_s.arg(i - 1);
        structs.registerStruct(
            {u"S%1"_s.arg(i), {{u"a"_s, Type::Struct, inner}, {u"b"_s, Type::Struct, inner}}});
    }
    const Value value = defaultValue(Type::Struct, u"S60"_s, structs);
    QCOMPARE(value.fields.size(), 2);
    // Written out in full this would be 2^60 numbers.
    QCOMPARE(valueToQVariant(value).toList().size(), 1);
}

void TstInterpreter::boundsAreFaults_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("fault");
    const QString deep = u"- "_s.repeated(100);
    QTest::newRow("deep expressions in deep calls")
        << u"float f(float a) { return a < 1.0 ? 0.0 : %1f(a - 1.0); } f(250.0)"_s.arg(deep)
        << u"nesting limit (%1) exceeded"_s.arg(Interpreter::nestingLimit);
    QString locals;
    for (int i = 0; i < 2000; ++i)
        locals += u"float v%1 = a;"_s.arg(i);
    QTest::newRow("many variables in many calls")
        << u"float f(float a) { %1 return a < 1.0 ? 0.0 : f(a - 1.0); } f(200.0)"_s.arg(locals)
        << u"too many variables alive (limit %1)"_s.arg(Interpreter::liveVariableLimit);
}

void TstInterpreter::boundsAreFaults()
{
    QFETCH(QString, source);
    QFETCH(QString, fault);
    ProgramPair pair(source);
    QCOMPARE(pair.errors, QStringList());
    QCOMPARE(pair.fast.evaluate().firstError().message, fault);
}

void TstInterpreter::diagnosticsAreBounded()
{
    ProgramPair pair(
        u"float f(float a) { float s = 0.0; for (int i = 0; i < 5000; i++) s += 1.0 / a;"
        " return s; } f(k)"_s);
    QCOMPARE(pair.fast.evaluate().diagnostics().size(), Interpreter::diagnosticLimit);
}

void TstInterpreter::unreportedFaultsFollowIeee_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<float>("result");
    QTest::newRow("division") << u"1.0 / k"_s << std::numeric_limits<float>::infinity();
    QTest::newRow("remainder") << u"1.0 % k + 2.0"_s << 2.0f;
    QTest::newRow("integer remainder") << u"7 % n + 2"_s << 2.0f;
    QTest::newRow("discard leaves")
        << u"float f(float a) { if (a == 0.0) { discard; } return 5.0; }"
           " f(k) + f(1.0)"_s
        << 5.0f;
}

void TstInterpreter::unreportedFaultsFollowIeee()
{
    QFETCH(QString, source);
    QFETCH(float, result);
    ProgramPair pair(source, false);
    QVERIFY(pair.isLowered());
    for (eval::ThreadCopy *copy : {&pair.fast, &pair.plain}) {
        QVERIFY(copy->evaluate());
        QCOMPARE(copy->getFloat(ProgramPair::d), result);
    }
}

void TstInterpreter::laterDefinitionsReplaceEarlierOnes()
{
    const auto function = [](const QString &name, Type parameter) {
        const auto node = AstPtr::create();
        node->kind = AstKind::FunctionDefinition;
        node->name = name;
        node->params = {{u"a"_s, parameter, {}, ParamQualifier::ByValue, false}};
        return node;
    };
    const QList<AstPtr> functions = {function(u"f"_s, Type::Float), function(u"f"_s, Type::Int),
                                     function(u"f"_s, Type::Float)};
    const FunctionTable table = makeFunctionTable(functions);
    QCOMPARE(table.value(u"f"_s),
             (QList<const AstNode *>{functions[2].data(), functions[1].data()}));
}

QTEST_APPLESS_MAIN(TstInterpreter)
#include "tst_Interpreter.moc"
