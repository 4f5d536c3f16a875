#pragma once

#include <mesh/HugePages.h>

#include <QList>

#include <cstddef>

namespace mesh {

/// A long list whose elements are made in place, by several threads at once: each touches the
/// memory of its own part first, where resizing a list would do that on one thread beforehand.
///
///     BulkList<Vector3<float>> vertices(count);
///     parallelFor(..., std::construct_at(vertices.data() + i, ...));
///     mesh.vertices = std::move(vertices).take(count);
template<typename T>
class BulkList
{
public:
    explicit BulkList(qsizetype capacity)
        : m_data(QTypedArrayData<T>::allocate(capacity))
    {
        if (capacity > 0)
            Q_CHECK_PTR(m_data.data());
        adviseHugePages(m_data.data(), std::size_t(capacity) * sizeof(T));
    }

    /// Memory for all elements; none of them is there before it is constructed.
    T *data() { return m_data.data(); }

    /// The first `count` elements, which have been constructed.
    QList<T> take(qsizetype count) &&
    {
        m_data.size = count;
        return QList<T>(std::move(m_data));
    }

private:
    QArrayDataPointer<T> m_data;
};

} // namespace mesh
