#include <eval/gpu/GlslAssignments.h>

#include <eval/gpu/GlslText.h>

#include <algorithm>

namespace eval::gpu {

using namespace internal;

namespace {

/// Whether one swizzle can write all lanes.
bool areDistinct(const QList<QByteArray> &lanes)
{
    for (qsizetype i = 0; i < lanes.size(); ++i) {
        if (lanes.indexOf(lanes[i], i + 1) >= 0)
            return false;
    }
    return true;
}

/// A lane by the name of its number, which is not negative.
QByteArray laneOf(const CodeValue &leaf, const QByteArray &lane)
{
    if (!isMatrix(leaf.type))
        return leaf.text + '[' + lane + ']';
    const QByteArray rows = QByteArray::number(matrixRows(leaf.type));
    return leaf.text + '[' + lane + " / " + rows + "][" + lane + " % " + rows + ']';
}

} // namespace

CodeValue GlslAssignments::readTarget(const Target &target)
{
    if (!target.isPartial)
        return target.leaf;
    QList<QByteArray> lanes;
    for (const QByteArray &lane : target.lanes) {
        if (isNumber(lane))
            lanes.append(glslLane(target.leaf, lane.toInt()));
        else
            lanes.append('(' + lane +
                         " < 0 ? 0.0 : " + laneOf(target.leaf, "max(" + lane + ", 0)") + ')');
    }
    return m_writer.made(m_writer.composeText(target.type, lanes), target.type, {});
}

CodeValue GlslAssignments::writeTarget(const Target &target, const CodeValue &value)
{
    const CodeValue stored = m_writer.retag(value, target.type, target.leaf.structName);
    if (!target.isPartial) {
        m_writer.assign(target.leaf.text, stored.text);
        return target.leaf;
    }
    if (isVector(target.leaf.type) && std::ranges::all_of(target.lanes, isNumber) &&
        areDistinct(target.lanes)) {
        QByteArray letters;
        for (const QByteArray &lane : target.lanes)
            letters += "xyzw"[lane.toInt()];
        CodeValue part = target.leaf;
        part.text += '.' + letters;
        part.type = target.type;
        m_writer.assign(part.text, stored.text);
        return part;
    }
    const CodeValue named = m_writer.keep(stored.text, stored.type, stored.structName);
    for (qsizetype i = 0; i < target.lanes.size(); ++i) {
        const QByteArray &lane = target.lanes[i];
        const QByteArray part = glslLane(named, static_cast<int>(i));
        if (isNumber(lane))
            m_writer.assign(glslLane(target.leaf, lane.toInt()), part);
        else
            m_writer.emitLine("if (" + lane + " >= 0) " + laneOf(target.leaf, lane) + " = " + part +
                              ';');
    }
    return named;
}

} // namespace eval::gpu
