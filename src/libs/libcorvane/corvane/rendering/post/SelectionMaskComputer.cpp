#include <corvane/rendering/post/SelectionMaskComputer.h>

namespace corvane::rendering {

QBitArray SelectionMaskComputer::computeSubtreeMask(const QList<shader::SDFNode> &nodes,
                                                    const std::function<QUuid(uint)> &itemOf,
                                                    const QSet<QUuid> &selected)
{
    QBitArray mask(nodes.size());
    if (selected.isEmpty())
        return mask;
    for (qsizetype i = 0; i < nodes.size(); ++i) {
        const qsizetype parent = nodes[i].parentIndex;
        const bool isBelow = parent >= 0 && parent < i && mask.testBit(parent);
        mask.setBit(i, isBelow || selected.contains(itemOf(uint(i))));
    }
    return mask;
}

} // namespace corvane::rendering
