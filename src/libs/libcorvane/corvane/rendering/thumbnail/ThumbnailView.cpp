#include <corvane/rendering/thumbnail/ThumbnailView.h>

#include <corvane/camera/SceneBounds.h>
#include <corvane/camera/ViewPreset.h>
#include <corvane/eval/FieldCompiler.h>

#include <QRandomGenerator>
#include <QtMath>

#include <algorithm>
#include <cmath>

namespace corvane::rendering {

namespace {

constexpr float fieldOfView = 24.0f;      ///< degrees: little perspective, as in a catalogue
constexpr float usedShare = 0.86f;        ///< of the picture's sides
constexpr float smallestZoom = 0.2f;      ///< distance over that of the box
constexpr float smallestDistance = 1e-4f; ///< scene units
constexpr float halfCube = 1.5f;          ///< of what has no end, scene units
constexpr int steepnessSamples = 400;
constexpr float steepnessMargin = 1.15f; ///< the steepest point is hardly among the samples
constexpr float largestSteepness = 12.0f;

std::array<QVector3D, 8> cornersOf(const BoundingVolume &box)
{
    std::array<QVector3D, 8> corners;
    for (int i = 0; i < 8; ++i)
        for (int axis = 0; axis < 3; ++axis)
            corners[i][axis] = box.face(axis, (i >> axis & 1) != 0);
    return corners;
}

/// Where the corners of a box stand in a camera's picture, from -1 to 1.
QRectF pictureOf(const std::array<QVector3D, 8> &corners, const camera::Camera &camera)
{
    const QMatrix4x4 matrix = camera.viewProjectionMatrix();
    QRectF all;
    for (const QVector3D &corner : corners) {
        const QPointF seen = matrix.map(corner).toPointF();
        all = all.isNull()
                  ? QRectF(seen, QSizeF(1e-9, 1e-9))
                  : QRectF(
                        QPointF(std::min(all.left(), seen.x()), std::min(all.top(), seen.y())),
                        QPointF(std::max(all.right(), seen.x()), std::max(all.bottom(), seen.y())));
    }
    return all;
}

/// The distance from the target at which every corner is within the used share of the picture.
float fittingDistance(const std::array<QVector3D, 8> &corners, const camera::Camera &camera)
{
    const float slope = std::tan(0.5f * qDegreesToRadians(fieldOfView)) * usedShare;
    const camera::CameraAxes &axes = camera.axes();
    float distance = 0.0f;
    for (const QVector3D &corner : corners) {
        const QVector3D offset = corner - camera.target();
        const float aside = std::abs(QVector3D::dotProduct(offset, axes.right));
        const float above = std::abs(QVector3D::dotProduct(offset, axes.up));
        const float nearer = -QVector3D::dotProduct(offset, axes.forward);
        distance =
            std::max(distance, nearer + std::max(aside / camera.aspectRatio(), above) / slope);
    }
    return distance;
}

/// Looks at the target from where all corners are seen.
void placeBefore(camera::Camera &camera, const std::array<QVector3D, 8> &corners,
                 const QVector3D &target)
{
    camera.setPose(camera::seenFrom({target + QVector3D(0, 0, 1), target, {0, 1, 0}},
                                    camera::threeQuarterView));
    const float distance = std::max(fittingDistance(corners, camera), smallestDistance);
    camera.setPosition(target - camera.axes().forward * distance);
}

/// From the target to the middle of what is seen of the corners.
QVector3D middleOf(const std::array<QVector3D, 8> &corners, const camera::Camera &camera)
{
    const QPointF middle = pictureOf(corners, camera).center();
    const camera::CameraAxes &axes = camera.axes();
    return (axes.right * float(middle.x()) * camera.aspectRatio() + axes.up * float(middle.y())) *
           (0.5f * camera.heightAtTarget());
}

/// What is opaque, in parts of the picture from -1 to 1 with y up; null when nothing is.
QRectF opaqueRect(const QImage &image)
{
    QRect pixels;
    for (int y = 0; y < image.height(); ++y) {
        const uchar *line = image.constScanLine(y);
        for (int x = 0; x < image.width(); ++x)
            if (line[4 * x + 3] == 255)
                pixels |= QRect(x, y, 1, 1);
    }
    if (pixels.isNull())
        return {};
    const double width = 2.0 / image.width();
    const double height = 2.0 / image.height();
    return QRectF(pixels.left() * width - 1.0, 1.0 - (pixels.bottom() + 1) * height,
                  pixels.width() * width, pixels.height() * height);
}

/// The greatest slope of a field among points of a box, at least 1.
float steepnessIn(const BoundingVolume &box, eval::IFieldEvaluator &field)
{
    QRandomGenerator random(1); // the same points for every picture
    const float step = 1e-3f * std::max(box.longestSide(), 1e-6f);
    float steepest = 1.0f;
    for (int i = 0; i < steepnessSamples; ++i) {
        QVector3D point;
        for (int axis = 0; axis < 3; ++axis)
            point[axis] = box.minimum()[axis] + box.extent()[axis] * random.bounded(1.0);
        const float here = field.evaluate(point.x(), point.y(), point.z());
        QVector3D slope;
        for (int axis = 0; axis < 3; ++axis) {
            QVector3D beside = point;
            beside[axis] += step;
            slope[axis] = (field.evaluate(beside.x(), beside.y(), beside.z()) - here) / step;
        }
        // A jump between two branches of a field has no slope.
        if (std::isfinite(slope.length()) && slope.length() < largestSteepness)
            steepest = std::max(steepest, slope.length() * steepnessMargin);
    }
    return std::min(steepest, largestSteepness);
}

} // namespace

ThumbnailPart findThumbnailPart(const ThumbnailRenderRequest &request)
{
    auto built =
        eval::SdfSceneGraphBuilder::build(request.nodes, request.rootIndex, request.definitions);
    const eval::CompiledField field = eval::compileField(built, ::eval::Backend::Interpreted);
    ThumbnailPart part{.box = camera::fieldAabb(field)};
    part.isCut = part.box.isEmpty();
    if (part.isCut)
        part.box = {{-halfCube, -halfCube, -halfCube}, {halfCube, halfCube, halfCube}};
    if (!field.program)
        return part;
    eval::EvalFieldEvaluator evaluator(field.program, field.positionHandle, field.distanceHandle);
    part.steepness = steepnessIn(part.box, evaluator);
    return part;
}

camera::Camera thumbnailCamera(const BoundingVolume &box, const QSize &size)
{
    camera::Camera camera;
    camera.setFieldOfView(fieldOfView);
    camera.setAspectRatio(float(size.width()) / float(std::max(size.height(), 1)));
    const auto corners = cornersOf(box);
    placeBefore(camera, corners, box.center());
    // What is nearer looks larger, so that the middle of the box is not that of its picture: two
    // rounds leave less than a pixel.
    for (int round = 0; round < 2; ++round)
        placeBefore(camera, corners, camera.target() + middleOf(corners, camera));
    const float reach = box.extent().length();
    camera.setPlanes(std::max(camera.distanceToTarget() - reach, 1e-3f * reach),
                     camera.distanceToTarget() + 2.0f * reach);
    return camera;
}

camera::Camera framed(const camera::Camera &camera, const QImage &small)
{
    const QRectF seen = opaqueRect(small);
    if (seen.isNull())
        return camera;
    const camera::CameraAxes &axes = camera.axes();
    const float half = 0.5f * camera.heightAtTarget();
    const QVector3D shift = (axes.right * float(seen.center().x()) * camera.aspectRatio() +
                             axes.up * float(seen.center().y())) *
                            half;
    const float used = 0.5f * float(std::max(seen.width(), seen.height()));
    const float distance = camera.distanceToTarget() * std::max(used / usedShare, smallestZoom);
    camera::Camera result = camera;
    const QVector3D target = camera.target() + shift;
    result.setPose({target - axes.forward * distance, target, camera.upVector()});
    return result;
}

} // namespace corvane::rendering
