#include "NodeList.h"

#include <algorithm>

namespace mesh {

NodeList &NodeList::operator=(const NodeList &other)
{
    if (this != &other)
        assign(other.data(), other.m_size);
    return *this;
}

NodeList &NodeList::operator=(NodeList &&other) noexcept
{
    if (this != &other) {
        release();
        take(other);
    }
    return *this;
}

void NodeList::append(int node)
{
    if (m_size == m_capacity)
        growTo(2 * m_capacity);
    data()[m_size++] = node;
}

bool NodeList::operator==(const NodeList &other) const
{
    return std::equal(begin(), end(), other.begin(), other.end());
}

void NodeList::growTo(int capacity)
{
    int *const heap = new int[std::size_t(capacity)];
    std::copy(begin(), end(), heap);
    release();
    m_heap = heap;
    m_capacity = capacity;
}

void NodeList::assignLong(const int *nodes, int count)
{
    if (count > m_capacity)
        growTo(count);
    std::copy(nodes, nodes + count, data());
    m_size = count;
}

} // namespace mesh
