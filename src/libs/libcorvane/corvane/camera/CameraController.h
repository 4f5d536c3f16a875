#pragma once

#include <corvane/bv/BoundingVolume.h>
#include <corvane/camera/Camera.h>

#include <QObject>

#include <optional>

namespace corvane::camera {

/// Turns gestures into moves of a camera. Amounts are pixels, x to the right and y down, as mouse
/// events give them. Emits cameraChanged() once a call, when the camera became another one.
///
/// The picture stays level: what leans by less than half a degree is set upright, and an orbit ends
/// straight above and straight below. A camera that was put at a slant keeps it.
class CameraController : public QObject
{
    Q_OBJECT

public:
    static constexpr float degreesPerPixel = 0.4f;

    explicit CameraController(QObject *parent = nullptr);

    [[nodiscard]] const Camera &camera() const { return m_camera; }
    void setCamera(const Camera &camera);
    void setPose(const CameraPose &pose);
    void setTarget(const QVector3D &target);
    void setProjectionType(Camera::ProjectionType type);
    void setAspectRatio(float aspectRatio);
    /// The picture in pixels; sets the aspect ratio, too. Without area it changes nothing.
    void setViewportSize(const QSize &size);
    /// Width and height of the rectangle that orthographic pictures show.
    void setOrthographicSize(float width, float height);

    /// What the planes are to hold: while it is not empty, near and far follow each move, and the
    /// eye of an orthographic picture steps back where it would stand inside.
    void setSceneBounds(const BoundingVolume &bounds);
    /// What orbits turn about; the target when there is none. Set it to the point under the cursor
    /// when a drag begins.
    void setPivot(const std::optional<QVector3D> &pivot) { m_pivot = pivot; }

    /// Around the pivot: to the right about the vertical, down about the picture's right axis.
    /// Keeps the distance to the target.
    void orbit(float dx, float dy);
    /// What is at the target's distance follows the cursor.
    void pan(float dx, float dy);
    /// Turns the head: the eye stays.
    void lookAround(float dx, float dy);
    /// @param direction  x right, y up, z forward
    /// @param dt         sixtieths of a second: each goes 0.02 of the viewing distance
    void move(const QVector3D &direction, float dt);
    /// As Camera::dolly(): towards the target.
    void dolly(float amount);
    /// The same towards what is under a point of the picture, which stays there.
    /// @param under  what is there; on the plane through the target when not known
    void dollyTowards(const QPointF &pixel, float amount,
                      const std::optional<QVector3D> &under = std::nullopt);
    void reset();

    /// Shows the whole of a box, from where the camera looks now. A box without a diagonal changes
    /// nothing.
    void fitTo(const BoundingVolume &volume);
    /// With another field of view, in degrees, and aspect ratio.
    void fitTo(const BoundingVolume &volume, float fieldOfView, float aspectRatio);

    /// The part of the picture that a rectangle of pixels is, from -1 to 1 with y up.
    [[nodiscard]] QRectF normalizedRect(const QRectF &pixels) const;

signals:
    void cameraChanged();

private:
    /// Tells of a change and brings the planes after it.
    void finish(const Camera &before);
    void fitPlanes();
    void turn(const QVector3D &about, float dx, float dy);
    [[nodiscard]] CameraPose levelled(const CameraPose &pose) const;
    [[nodiscard]] QVector3D pointUnder(const QPointF &pixel) const;

    Camera m_camera;
    QVector3D m_worldUp{0, 1, 0};
    QSize m_viewportSize{1280, 720};
    BoundingVolume m_sceneBounds;
    std::optional<QVector3D> m_pivot;
};

} // namespace corvane::camera
