#pragma once

#include <corvane/shader/SDFNode.h>
#include <rhi/QRhiCompat.h>

#include <QList>

#include <memory>
#include <vector>

namespace corvane::rendering {

/// The storage buffer of the nodes of a field. It knows what it holds, so that an edit uploads the
/// nodes that changed and no others. On the thread of the device.
class NodeBuffer
{
public:
    /// What became of an upload.
    struct Upload
    {
        int requested = 0;
        int kept = 0;              ///< fewer than were requested when the buffer is full
        qint64 bytes = 0;          ///< that travelled
        bool isStructural = false; ///< more than parameters and materials changed
        bool isFull() const { return kept < requested; }
    };

    /// Of the size of `budgetBytes` rounded down to whole nodes, one at least. False when the
    /// device can't.
    bool create(QRhi *rhi, qint64 budgetBytes);
    void release();
    bool isValid() const { return m_buffer != nullptr; }
    QRhiBuffer *buffer() const { return m_buffer.get(); }
    int capacity() const { return m_capacity; } ///< in nodes

    Upload upload(const QList<shader::SDFNode> &nodes, QRhiResourceUpdateBatch *updates);

private:
    std::unique_ptr<QRhiBuffer> m_buffer;
    std::vector<shader::SDFNode> m_held;
    int m_capacity = 0;
};

} // namespace corvane::rendering
