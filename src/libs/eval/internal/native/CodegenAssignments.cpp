#include <eval/internal/native/CodegenAssignments.h>

#include <eval/internal/native/NativeTypes.h>

namespace eval::internal {

CodeValue CodegenAssignments::readTarget(const Target &target)
{
    if (!target.isPartial)
        return target.leaf;
    QList<QByteArray> lanes;
    for (const QByteArray &lane : target.lanes)
        lanes.append(isNumber(lane) ? nativeLane(target.leaf, lane.toInt())
                                    : "lane(" + target.leaf.text + ", " + lane + ')');
    return m_writer.keep(nativeCompose(target.type, lanes), target.type);
}

CodeValue CodegenAssignments::writeTarget(const Target &target, const CodeValue &value)
{
    const CodeValue stored =
        m_writer.named(m_writer.retag(value, target.type, target.leaf.structName));
    if (!target.isPartial) {
        m_writer.assign(target.leaf.text, stored.text);
        return stored;
    }
    for (qsizetype i = 0; i < target.lanes.size(); ++i) {
        const QByteArray &lane = target.lanes[i];
        const QByteArray part = nativeLane(stored, static_cast<int>(i));
        if (isNumber(lane))
            m_writer.assign(nativeLane(target.leaf, lane.toInt()), part);
        else
            m_writer.emitLine("setLane(" + target.leaf.text + ", " + lane + ", " + part + ");");
    }
    return stored;
}

} // namespace eval::internal
