#include <corvane/rendering/layers/GroundPlane.h>

#include <corvane/rendering/ClipSpace.h>
#include <corvane/rendering/RhiContext.h>
#include <corvane/rendering/layers/Std140.h>

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

namespace {

constexpr float majorSubdivisions = 10.0f; ///< squares between two major lines
constexpr float minorSubdivisions = 10.0f; ///< minor lines in a square
constexpr float nearestCamera = 1e-3f;     ///< scene units
constexpr float farthestCamera = 1e9f;

using Std140::Matrix;
using Std140::matrix;
using Std140::Vector;
using Std140::vector;

/// The block `buf` of ground_plane.frag, std140.
struct GroundBlock
{
    Matrix mvp{};
    Matrix invViewMatrix{};
    Matrix invProjection{};
    Vector cameraPosition{};
    Vector centerOffset{};
    Vector gridColor{};
    Vector checkerColorA{};
    Vector checkerColorB{};
    float unitSize = 1.0f;
    float majorLineThickness = 1.0f;
    float minorLineThickness = 1.0f;
    float majorLineAlpha = 1.0f;
    float minorLineAlpha = 1.0f;
    float fadeStart = 1.0f;
    float fadeEnd = 2.0f;
    float majorSubdivisions = 1.0f;
    float minorSubdivisions = 1.0f;
    std::array<float, 3> pad{};
};
static_assert(sizeof(GroundBlock) == 320);

/// How far what is looked at is: in a parallel projection the camera may stand anywhere, and the
/// height of the picture says it.
float viewDistance(const RhiContext &context)
{
    const bool isParallel = context.projection(3, 3) == 1.0f;
    const float distance = isParallel ? 2.0f / std::max(std::abs(context.projection(1, 1)), 1e-9f)
                                      : std::max(context.eye.length(), std::abs(context.eye.y()));
    return std::isfinite(distance) ? std::clamp(distance, nearestCamera, farthestCamera)
                                   : farthestCamera;
}

} // namespace

GroundPlane::GroundPlane()
    : m_pass(u":/ground_plane.frag.qsb"_s, {.blend = true, .depthTest = true})
{}

bool GroundPlane::initialize(RhiContext &context)
{
    m_block.reset(context.rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer,
                                         sizeof(GroundBlock)));
    return m_block->create();
}

void GroundPlane::update(RhiContext &context, qint64)
{
    QRhiResourceUpdateBatch *const updates = context.ensureResourceUpdates();
    if (!updates || !m_pass.prepare(context.rhi, updates))
        return;
    const float distance = viewDistance(context);
    const float power = std::log10(distance / 10.0f);
    const float unit = std::pow(10.0f, std::floor(power));
    const float farther = power - std::floor(power); // 0 to 1 until the next power of ten
    const QMatrix4x4 raster = ClipSpace::rasterProjection(context.rhi, context.projection);
    GroundBlock block{.mvp = matrix(context.projection * context.view),
                      .invViewMatrix = matrix(context.view.inverted()),
                      .invProjection = matrix(raster.inverted()),
                      .cameraPosition = vector({context.eye, 1.0f}),
                      .centerOffset = vector({context.eye, 0.0f}),
                      .gridColor = vector(m_style.gridColor),
                      .checkerColorA = vector(m_style.checkerA),
                      .checkerColorB = vector(m_style.checkerB)};
    block.unitSize = unit;
    block.majorLineThickness = m_style.majorLineThickness;
    block.minorLineThickness = m_style.minorLineThickness;
    block.majorLineAlpha = m_style.majorLineAlpha;
    block.minorLineAlpha = m_style.minorLineAlpha * (1.0f - farther);
    block.fadeStart = m_style.fadeStart * distance;
    block.fadeEnd = std::max(m_style.fadeEnd * distance, block.fadeStart * 1.001f);
    block.majorSubdivisions = majorSubdivisions;
    block.minorSubdivisions = minorSubdivisions;
    updates->updateDynamicBuffer(m_block.get(), 0, sizeof(block), &block);
}

void GroundPlane::renderPre(RhiContext &context)
{
    if (m_pass.ensure(context.rhi, context.renderPassDescriptor, context.sampleCount,
                      {QRhiShaderResourceBinding::uniformBuffer(
                          0, QRhiShaderResourceBinding::FragmentStage, m_block.get())}))
        m_pass.draw(context.commandBuffer, context.pixelSize);
}

void GroundPlane::releaseResources()
{
    m_pass.release();
    m_block.reset();
}

} // namespace corvane::rendering
