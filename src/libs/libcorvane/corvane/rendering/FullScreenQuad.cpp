#include <corvane/rendering/FullScreenQuad.h>

#include <corvane/rendering/ClipSpace.h>

#include <array>

namespace corvane::rendering {

using namespace Qt::StringLiterals;

namespace {

constexpr int stride = 5 * sizeof(float);
constexpr std::array<quint16, 6> indices{0, 1, 2, 2, 1, 3};

std::array<float, 20> verticesOf(QRhi *rhi)
{
    const float up = ClipSpace::ndcYSign(rhi);
    return {-1.0f, -up, 0.0f, 0.0f, 0.0f, 1.0f, -up, 0.0f, 1.0f, 0.0f,
            -1.0f, up,  0.0f, 0.0f, 1.0f, 1.0f, up,  0.0f, 1.0f, 1.0f};
}

} // namespace

bool FullScreenQuad::create(QRhi *rhi, QRhiResourceUpdateBatch *updates, QString *error)
{
    const auto vertices = verticesOf(rhi);
    m_vertices.reset(
        rhi->newBuffer(QRhiBuffer::Immutable, QRhiBuffer::VertexBuffer, sizeof(vertices)));
    m_indices.reset(
        rhi->newBuffer(QRhiBuffer::Immutable, QRhiBuffer::IndexBuffer, sizeof(indices)));
    const QString failed = !m_vertices->create()  ? u"Failed to create vertex buffer"_s
                           : !m_indices->create() ? u"Failed to create index buffer"_s
                                                  : QString();
    if (!failed.isEmpty()) {
        release();
        *error = failed;
        return false;
    }
    updates->uploadStaticBuffer(m_vertices.get(), vertices.data());
    updates->uploadStaticBuffer(m_indices.get(), indices.data());
    return true;
}

void FullScreenQuad::release()
{
    m_indices.reset();
    m_vertices.reset();
}

QRhiVertexInputLayout FullScreenQuad::inputLayout()
{
    QRhiVertexInputLayout layout;
    layout.setBindings({QRhiVertexInputBinding(stride)});
    layout.setAttributes({{0, 0, QRhiVertexInputAttribute::Float3, 0},
                          {0, 1, QRhiVertexInputAttribute::Float2, 3 * sizeof(float)}});
    return layout;
}

void FullScreenQuad::draw(QRhiCommandBuffer *commands) const
{
    const QRhiCommandBuffer::VertexInput input(m_vertices.get(), 0);
    commands->setVertexInput(0, 1, &input, m_indices.get(), 0, QRhiCommandBuffer::IndexUInt16);
    commands->drawIndexed(indices.size());
}

} // namespace corvane::rendering
