#include "ProgramPair.h"

#include <eval/internal/GraphCompiler.h>

#include <QMatrix4x4>
#include <QVector2D>
#include <QVector3D>
#include <QVector4D>

#include <bit>
#include <cmath>
#include <vector>

using namespace Qt::StringLiterals;
using namespace eval::internal;

namespace {

SlotBinding binding(const QString &name, eval::Type type, eval::Handle handle)
{
    SlotBinding slot;
    slot.name = name;
    slot.type = type;
    slot.handle = handle;
    return slot;
}

QString bitsOf(float value)
{
    return std::isnan(value) ? u"nan"_s : QString::number(std::bit_cast<quint32>(value), 16);
}

QString bitsOf(std::initializer_list<float> values)
{
    QStringList texts;
    for (const float value : values)
        texts.append(bitsOf(value));
    return texts.join(u' ');
}

QString outcomeOf(const eval::ThreadCopy &copy, bool isSound, const std::vector<float> &values)
{
    QStringList lines;
    for (const float value : values)
        lines.append(bitsOf(value));
    if (!isSound)
        lines.append(describe(copy.firstFault()));
    return lines.join(u' ');
}

} // namespace

QString describe(const eval::Diagnostic &diagnostic)
{
    return u"%1:%2+%3 %4 %5"_s.arg(
        QString::number(diagnostic.span.line), QString::number(diagnostic.span.column),
        QString::number(diagnostic.span.length),
        QString::number(static_cast<int>(diagnostic.category)), diagnostic.message);
}

QString describe(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Float:
        return u"float "_s + bitsOf(value.toFloat());
    case QMetaType::QVector2D: {
        const auto v = value.value<QVector2D>();
        return u"vec2 "_s + bitsOf({v.x(), v.y()});
    }
    case QMetaType::QVector3D: {
        const auto v = value.value<QVector3D>();
        return u"vec3 "_s + bitsOf({v.x(), v.y(), v.z()});
    }
    case QMetaType::QVector4D: {
        const auto v = value.value<QVector4D>();
        return u"vec4 "_s + bitsOf({v.x(), v.y(), v.z(), v.w()});
    }
    case QMetaType::QMatrix4x4: {
        QStringList texts;
        for (int i = 0; i < 16; ++i)
            texts.append(bitsOf(value.value<QMatrix4x4>().constData()[i]));
        return u"mat4 "_s + texts.join(u' ');
    }
    case QMetaType::QVariantList: {
        QStringList texts;
        const QVariantList list = value.toList();
        for (const QVariant &item : list)
            texts.append(describe(item));
        return u'[' + texts.join(u", "_s) + u']';
    }
    default:
        return QLatin1StringView(value.typeName()) + u' ' + value.toString();
    }
}

ProgramPair::ProgramPair(const QString &source, bool reportRuntimeFaults)
{
    CompileRequest request;
    request.reportRuntimeFaults = reportRuntimeFaults;
    request.inputs = {binding(u"p"_s, eval::Type::Vec3, p), binding(u"k"_s, eval::Type::Float, k),
                      binding(u"n"_s, eval::Type::Int, n),
                      binding(u"flag"_s, eval::Type::Bool, flag)};
    request.outputs = {binding(u"d"_s, eval::Type::Float, d)};
    request.sources = {source};
    const CompiledResult result = GraphCompiler(request).compile();
    for (const eval::Diagnostic &diagnostic : result.diagnostics())
        errors.append(describe(diagnostic));
    if (!result)
        return;
    m_compiled = result.value();
    const auto unlowered = QSharedPointer<CompiledProgram>::create(*m_compiled);
    unlowered->lowered.reset();
    fast = eval::ThreadCopy(m_compiled);
    plain = eval::ThreadCopy(unlowered);
}

bool ProgramPair::isLowered() const
{
    return m_compiled && m_compiled->lowered;
}

void ProgramPair::setInputs(float x, float y, float z, float kValue, int nValue, bool flagValue)
{
    const float point[] = {x, y, z};
    for (eval::ThreadCopy *copy : {&fast, &plain}) {
        copy->setFloats(p, point);
        copy->setFloats(k, {&kValue, 1});
        copy->set(n, nValue);
        copy->set(flag, flagValue);
    }
}

QString ProgramPair::outcome(eval::ThreadCopy &copy)
{
    const eval::Result<void> result = copy.evaluate();
    QStringList lines = {describe(copy.get(d)), bitsOf(copy.getFloat(d))};
    for (const eval::Diagnostic &diagnostic : result.diagnostics())
        lines.append(describe(diagnostic));
    return lines.join(u'\n');
}

QString ProgramPair::row(eval::ThreadCopy &copy, const QList<float> &xs, float y, float z)
{
    std::vector<float> out(static_cast<size_t>(xs.size()), -1.0f);
    const bool isSound = copy.evaluateRow(p, {xs.constData(), out.size()}, y, z, d, out, 1e10f);
    return outcomeOf(copy, isSound, out);
}

QString ProgramPair::scattered(eval::ThreadCopy &copy, const QList<float> &xyz)
{
    std::array<std::vector<float>, 3> lanes;
    for (qsizetype i = 0; i < xyz.size(); ++i)
        lanes[static_cast<size_t>(i % 3)].push_back(xyz[i]);
    std::vector<float> out(lanes[0].size(), -1.0f);
    const bool isSound = copy.evaluatePoints(p, lanes[0], lanes[1], lanes[2], d, out, 1e10f);
    return outcomeOf(copy, isSound, out);
}
