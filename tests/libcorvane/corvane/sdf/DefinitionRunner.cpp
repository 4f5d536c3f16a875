#include "DefinitionRunner.h"

#include <eval/internal/BackendCode.h>

#include <QRegularExpression>
#include <QVector3D>

#include <array>
#include <limits>

using namespace Qt::StringLiterals;
using corvane::registry::Definition;
using corvane::registry::NodeType;

namespace {

/// What a function of each kind is given before the arguments of its own.
QStringList leadingArguments(NodeType type)
{
    switch (type) {
    case NodeType::CSGOperator:
        return {u"d1"_s, u"d2"_s};
    case NodeType::DistanceModifier:
        return {u"d1"_s};
    case NodeType::PositionAwareModifier:
        return {u"p"_s, u"d1"_s};
    case NodeType::Primitive:
    case NodeType::ScalarField:
    case NodeType::PositionTransform:
        return {u"p"_s};
    case NodeType::Unknown:
        break;
    }
    return {};
}

/// The arguments are inputs, so that a definition is compiled once for all of its values.
QString argumentName(qsizetype index)
{
    return u"argument%1"_s.arg(index);
}

/// Adds the number of arguments that the call takes.
QString callText(const Definition &definition, qsizetype &argumentCount)
{
    QStringList parts = leadingArguments(definition.nodeType);
    for (qsizetype i = parts.size(); i < definition.parameterTypes.size(); ++i) {
        const qsizetype first = argumentCount;
        const bool isVector = definition.parameterTypes[i] == "vec3"_L1;
        parts += isVector ? u"vec3(%1, %2, %3)"_s.arg(argumentName(first), argumentName(first + 1),
                                                      argumentName(first + 2))
                          : argumentName(first);
        argumentCount += isVector ? 3 : 1;
    }
    return definition.primaryFunctionName + u'(' + parts.join(u", "_s) + u')';
}

} // namespace

QList<double> numbersOf(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<QVector3D>()) {
        const auto v = value.value<QVector3D>();
        return {v.x(), v.y(), v.z()};
    }
    QList<double> result;
    if (value.metaType() == QMetaType::fromType<QVariantList>()) {
        const QVariantList list = value.toList();
        for (const QVariant &entry : list)
            result += entry.toDouble();
        return result;
    }
    return {value.toDouble()};
}

QList<eval::Backend> DefinitionRunner::backends()
{
    QList<eval::Backend> result{eval::Backend::Interpreted};
    for (const eval::Backend backend : {eval::Backend::Native, eval::Backend::Gpu}) {
        const auto generator = eval::internal::codeGenerator(backend);
        if (generator && generator->isAvailable())
            result += backend;
    }
    return result;
}

DefinitionRunner::DefinitionRunner(const Definition &definition, const QList<double> &arguments,
                                   eval::Backend backend)
{
    static const QRegularExpression comments(u"//[^\n]*"_s);
    static const QRegularExpression constants(uR"(\bconst\b[ \t]+)"_s);
    QString code = definition.shaderCode;
    code.remove(comments).remove(constants);

    eval::Graph graph;
    m_p = graph.declareInput(u"p"_s, eval::Type::Vec3);
    m_d1 = graph.declareInput(u"d1"_s, eval::Type::Float);
    m_d2 = graph.declareInput(u"d2"_s, eval::Type::Float);
    qsizetype count = 0;
    const QString call = callText(definition, count);
    QList<eval::Handle> inputs;
    for (qsizetype i = 0; i < count; ++i)
        inputs += graph.declareInput(argumentName(i), eval::Type::Float);
    m_result = graph.declareOutput(u"result"_s, code + u'\n' + call);
    const auto compiled = graph.compile(backend);
    if (!compiled) {
        m_error = compiled.firstError().message;
        return;
    }
    for (qsizetype i = 0; i < count; ++i)
        m_arguments += arguments.value(i);
    m_program = compiled.value();
    m_copy = m_program.threadCopy();
    for (qsizetype i = 0; i < count; ++i)
        m_copy.setFloats(inputs[i], std::array{float(arguments.value(i))});
}

bool DefinitionRunner::evaluate(reference::Vec3 p, double d1, double d2)
{
    m_copy.setFloats(m_p, std::array{float(p.x), float(p.y), float(p.z)});
    m_copy.setFloats(m_d1, std::array{float(d1)});
    m_copy.setFloats(m_d2, std::array{float(d2)});
    const auto result = m_copy.evaluate();
    if (!result)
        m_fault = result.firstError().message;
    return bool(result);
}

double DefinitionRunner::distance(reference::Vec3 p, double d1, double d2)
{
    return evaluate(p, d1, d2) ? double(m_copy.getFloat(m_result))
                               : std::numeric_limits<double>::quiet_NaN();
}

reference::Vec3 DefinitionRunner::position(reference::Vec3 p)
{
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    if (!evaluate(p, 0, 0))
        return {none, none, none};
    const auto v = m_copy.get(m_result).value<QVector3D>();
    return {v.x(), v.y(), v.z()};
}

QList<float> DefinitionRunner::row(const QList<float> &xs, float y, float z)
{
    QList<float> out(xs.size());
    if (!m_copy.evaluateRow(m_p, xs, y, z, m_result, out, std::numeric_limits<float>::quiet_NaN()))
        m_fault = m_copy.firstFault().message;
    return out;
}

QList<float> DefinitionRunner::batch(const QList<reference::Vec3> &points)
{
    std::vector<float> input;
    for (const reference::Vec3 &p : points) {
        for (const double number : {p.x, p.y, p.z, p.x, p.y})
            input.push_back(float(number));
        for (const double argument : std::as_const(m_arguments))
            input.push_back(float(argument));
    }
    QList<float> out(points.size() * eval::slotFloatWidth(m_program.slotType(m_result)));
    const auto result = m_program.evaluateBatch(input, out, points.size(), 5 + m_arguments.size());
    if (!result)
        m_fault = result.firstError().message;
    return out;
}
