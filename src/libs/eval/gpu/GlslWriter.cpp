#include <eval/gpu/GlslWriter.h>

#include <eval/gpu/GlslText.h>

#include <algorithm>

namespace eval::gpu {

using namespace internal;

CodeValue GlslWriter::atom(const CodeValue &value)
{
    return value.isAtom ? value : keep(value.text, value.type, value.structName);
}

CodeValue GlslWriter::made(const QByteArray &text, Type type, const QList<CodeValue> &operands,
                           const QString &structName)
{
    int depth = 0;
    for (const CodeValue &operand : operands)
        depth = std::max(depth, operand.depth);
    return {text, type, structName, Type::Float, true, false, depth + 1};
}

bool GlslWriter::isLaneType(Type type) const
{
    return isGlslType(type);
}

QByteArray GlslWriter::literalText(const QVariant &value, Type type) const
{
    return glslLiteral(value, type);
}

QByteArray GlslWriter::defaultText(Type type, const QString &structName)
{
    return m_glsl.defaultText(type, structName);
}

QByteArray GlslWriter::laneText(const CodeValue &value, int lane) const
{
    return glslLane(value, lane);
}

QByteArray GlslWriter::castText(const QByteArray &scalar, Type from, Type to) const
{
    return glslCast(scalar, from, to);
}

std::optional<QByteArray> GlslWriter::retagText(const CodeValue &value, Type type) const
{
    return glslRetag(value, type);
}

QByteArray GlslWriter::composeText(Type type, const QList<QByteArray> &lanes) const
{
    return isScalar(type) ? lanes.value(0) : callText(glslTypeName(type), lanes);
}

QByteArray GlslWriter::structText(const QByteArray &type, const QList<QByteArray> &fields) const
{
    return callText(type, fields);
}

QByteArray GlslWriter::choiceText(const QByteArray &condition, const QByteArray &yes,
                                  const QByteArray &no) const
{
    return '(' + condition + " ? " + yes + " : " + no + ')';
}

} // namespace eval::gpu
