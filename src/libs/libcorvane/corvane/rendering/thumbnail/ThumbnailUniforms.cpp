#include <corvane/rendering/thumbnail/ThumbnailUniforms.h>

#include <corvane/rendering/environment/BrandLightingEnvironment.h>
#include <corvane/shader/SDFUniforms.h>

#include <QtMath>

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

using shader::SDFUniforms;

namespace {

constexpr int maxSteps = 320;
constexpr float epsilonShare = 3e-4f;  ///< of the part's radius
constexpr float shadowReach = 0.5f;    ///< of the part's radius
constexpr float cutFlag = 3.0f;        ///< `bounds_max.w` of a part that is cut by its box
constexpr float sectionShare = 0.85f;  ///< of the picture that the part takes
constexpr float keyLightBeside = 45.0; ///< degrees from the camera, to its left

/// The block `buf` of the cross-section shader.
struct SectionUniforms
{
    std::array<float, 4> planeOrigin{};
    std::array<float, 4> planeRight{};
    std::array<float, 4> planeUp{};
    std::array<float, 4> planeNormal{};
    std::int32_t nodeCount = 0;
    std::int32_t rootNodeIndex = 0;
    std::int32_t viewWidth = 0;
    std::int32_t viewHeight = 0;
    float viewScale = 1.0f;
    float contourSpacing = 0.0f;
    float gridSpacing = 0.0f;
    float pad1 = 0.0f;
};
static_assert(sizeof(SectionUniforms) == 96);

SDFUniforms::Matrix floatsOf(const QMatrix4x4 &matrix)
{
    SDFUniforms::Matrix floats;
    std::copy_n(matrix.constData(), 16, floats.begin());
    return floats;
}

SDFUniforms::Vector floatsOf(const QVector3D &v, float w = 0.0f)
{
    return {v.x(), v.y(), v.z(), w};
}

template<typename T>
QByteArray bytesOf(const T &block)
{
    return QByteArray(reinterpret_cast<const char *>(&block), sizeof(block));
}

void setCamera(SDFUniforms &block, const camera::Camera &camera)
{
    block.viewMatrix = floatsOf(camera.viewMatrix());
    block.projMatrix = floatsOf(camera.projectionMatrix());
    block.mvp = floatsOf(camera.viewProjectionMatrix());
    block.invViewProjMatrix = floatsOf(camera.inverseViewProjectionMatrix());
    block.cameraPos = floatsOf(camera.position(), 1.0f);
}

/// The studio, turned so that the key light stands beside the camera.
void setLights(SDFUniforms &block, const camera::Camera &camera)
{
    constexpr float keyAzimuth = 222.0f; // of the studio as it stands, for a camera at 180
    const QVector3D towardsEye = -camera.axes().forward;
    const float azimuth = qRadiansToDegrees(std::atan2(towardsEye.x(), -towardsEye.z()));
    BrandLightingEnvironment studio;
    const float rotation = std::remainder(azimuth + keyLightBeside - keyAzimuth, 360.0f);
    studio.setSetting(u"rotation"_s, std::clamp(rotation, -180.0f, 180.0f));
    block.lightCount = studio.fillLights(block.lights.data(), shader::maxLightCount);
}

QVector3D unitVector(int axis)
{
    QVector3D v;
    v[axis] = 1.0f;
    return v;
}

} // namespace

QByteArray partUniforms(const ThumbnailRenderRequest &request, const ThumbnailPart &part,
                        const camera::Camera &camera)
{
    const float radius = std::max(0.5f * part.box.extent().length(), 1e-6f);
    SDFUniforms block;
    setCamera(block, camera);
    setLights(block, camera);
    block.boundsMin = floatsOf(part.box.minimum(), part.steepness);
    block.boundsMax = floatsOf(part.box.maximum(), part.isCut ? cutFlag : 0.0f);
    block.maxSteps = maxSteps;
    block.maxDistance = camera.farPlane();
    block.epsilon = epsilonShare * radius;
    block.secondaryEpsilon = shadowReach * radius;
    block.nodeCount = std::int32_t(request.nodes.size());
    block.rootNodeIndex = request.rootIndex;
    return bytesOf(block);
}

QByteArray sectionUniforms(const ThumbnailRenderRequest &request, const ThumbnailPart &part,
                           const QSize &samples)
{
    const int axis = std::clamp(request.section->axis, 0, 2);
    const int right = axis == 0 ? 2 : 0;
    const int up = axis == 1 ? 2 : 1;
    QVector3D origin = part.box.center();
    origin[axis] = request.section->offset;
    const QVector3D extent = part.box.extent();
    SectionUniforms block;
    block.planeOrigin = floatsOf(origin);
    block.planeRight = floatsOf(unitVector(right));
    block.planeUp = floatsOf(unitVector(up));
    block.planeNormal = floatsOf(unitVector(axis));
    block.nodeCount = std::int32_t(request.nodes.size());
    block.rootNodeIndex = request.rootIndex;
    block.viewWidth = samples.width();
    block.viewHeight = samples.height();
    block.viewScale = std::max({extent[right] / float(samples.width()),
                                extent[up] / float(samples.height()), 1e-9f}) /
                      sectionShare;
    block.contourSpacing = std::max(request.section->contourSpacing, 0.0f);
    return bytesOf(block);
}

} // namespace corvane::rendering
