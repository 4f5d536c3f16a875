#pragma once

#include <QList>

#include <cstring>
#include <initializer_list>

namespace mesh {

/// The vertex indices of one element: a list of int that keeps up to four of them within itself.
///
/// Triangles, quads and tetrahedra are nearly all elements there are, and a heap block for each
/// would cost more than everything else in a mesh: here an element is 40 bytes and a copy of a
/// million of them one memory block. Longer lists (quadratic elements, hexahedra) go to the heap.
class NodeList
{
public:
    static constexpr int inlineCapacity = 4;

    NodeList() noexcept {}
    NodeList(std::initializer_list<int> nodes) { assign(nodes.begin(), int(nodes.size())); }
    explicit NodeList(const QList<int> &nodes) { assign(nodes.data(), int(nodes.size())); }
    NodeList(const int *nodes, int count) { assign(nodes, count); }
    NodeList(const NodeList &other) { assign(other.data(), other.m_size); }
    NodeList(NodeList &&other) noexcept { take(other); }
    NodeList &operator=(const NodeList &other);
    NodeList &operator=(NodeList &&other) noexcept;
    ~NodeList() { release(); }

    int size() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }
    const int *data() const { return isInline() ? m_inline : m_heap; }
    int *data() { return isInline() ? m_inline : m_heap; }
    int operator[](int i) const { return data()[i]; }
    int &operator[](int i) { return data()[i]; }
    int at(int i) const { return data()[i]; }
    const int *begin() const { return data(); }
    const int *end() const { return data() + m_size; }
    int *begin() { return data(); }
    int *end() { return data() + m_size; }

    void append(int node);
    void clear() { m_size = 0; }
    QList<int> toList() const { return QList<int>(begin(), end()); }
    bool operator==(const NodeList &other) const;

private:
    bool isInline() const { return m_capacity == inlineCapacity; }
    void assign(const int *nodes, int count)
    {
        if (count > inlineCapacity || !isInline())
            return assignLong(nodes, count);
        for (int i = 0; i < count; ++i)
            m_inline[i] = nodes[i];
        m_size = count;
    }
    void assignLong(const int *nodes, int count);
    void growTo(int capacity);
    void take(NodeList &other) noexcept
    {
        m_size = other.m_size;
        m_capacity = other.m_capacity;
        std::memcpy(static_cast<void *>(&m_inline), &other.m_inline, sizeof m_inline);
        other.m_size = 0;
        other.m_capacity = inlineCapacity;
    }
    void release() noexcept
    {
        if (!isInline())
            delete[] m_heap;
    }

    union {
        int m_inline[inlineCapacity] = {};
        int *m_heap;
    };
    int m_size = 0;
    int m_capacity = inlineCapacity; ///< above inlineCapacity the nodes are on the heap
};

} // namespace mesh

Q_DECLARE_TYPEINFO(mesh::NodeList, Q_RELOCATABLE_TYPE);
