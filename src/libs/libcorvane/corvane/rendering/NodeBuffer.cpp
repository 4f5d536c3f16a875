// What changed is found by comparing with a copy of what the buffer holds, from both ends: a
// parameter drag touches one node of a thousand, and to compare them (256 kB) takes less than to
// send them. Whoever changes nodes need not keep account of it.

#include <corvane/rendering/NodeBuffer.h>

#include <algorithm>
#include <cstring>

namespace corvane::rendering {

using shader::SDFNode;

namespace {

bool isSame(const SDFNode &a, const SDFNode &b)
{
    return std::memcmp(&a, &b, sizeof(SDFNode)) == 0; // by bits: a NaN is like itself
}

/// But for parameters, material and smoothness.
bool isSameStructure(const SDFNode &a, const SDFNode &b)
{
    const auto same = [&a, &b](std::size_t begin, std::size_t end) {
        return std::memcmp(reinterpret_cast<const char *>(&a) + begin,
                           reinterpret_cast<const char *>(&b) + begin, end - begin) == 0;
    };
    return same(0, offsetof(SDFNode, params)) &&
           same(offsetof(SDFNode, transform), offsetof(SDFNode, material)) &&
           same(offsetof(SDFNode, densityScale), sizeof(SDFNode));
}

} // namespace

bool NodeBuffer::create(QRhi *rhi, qint64 budgetBytes)
{
    constexpr qint64 nodeBytes = sizeof(SDFNode);
    m_capacity = int(std::max<qint64>(1, budgetBytes / nodeBytes));
    m_held.clear();
    m_buffer.reset(rhi->newBuffer(QRhiBuffer::Immutable, QRhiBuffer::StorageBuffer,
                                  quint32(m_capacity * nodeBytes)));
    if (m_buffer->create())
        return true;
    release();
    return false;
}

void NodeBuffer::release()
{
    m_buffer.reset();
    m_held.clear();
}

NodeBuffer::Upload NodeBuffer::upload(const QList<SDFNode> &nodes, QRhiResourceUpdateBatch *updates)
{
    const auto kept = std::min<std::size_t>(nodes.size(), m_capacity);
    const SDFNode *const wanted = nodes.constData();
    const std::size_t common = std::min(kept, m_held.size());
    std::size_t first = 0;
    while (first < common && isSame(wanted[first], m_held[first]))
        ++first;
    std::size_t end = kept;
    while (end > first && end <= m_held.size() && isSame(wanted[end - 1], m_held[end - 1]))
        --end;
    bool isStructural = kept != m_held.size();
    for (std::size_t i = first; i < end && !isStructural; ++i)
        isStructural = !isSameStructure(wanted[i], m_held[i]);
    m_held.resize(kept);
    std::copy(wanted + first, wanted + end, m_held.begin() + qsizetype(first));
    const Upload result{.requested = int(nodes.size()),
                        .kept = int(kept),
                        .bytes = qint64((end - first) * sizeof(SDFNode)),
                        .isStructural = isStructural};
    if (result.bytes > 0)
        updates->uploadStaticBuffer(m_buffer.get(), int(first * sizeof(SDFNode)), int(result.bytes),
                                    wanted + first);
    return result;
}

} // namespace corvane::rendering
