#pragma once

#include <corvane/model/SceneItem.h>

#include <optional>

namespace corvane::model {

/// Reads an item for the interface. A view is a copy: it does not follow the document.
class SceneItemView
{
public:
    explicit SceneItemView(const SceneItem &item)
        : m_item(item)
    {}

    const SceneItem &item() const { return m_item; }
    QUuid id() const { return m_item.id; }
    QString name() const { return m_item.name; }
    QString itemType() const { return m_item.itemType; }
    QString definitionId() const; ///< empty unless the item is of type "sdf"
    QSet<QString> tags() const { return m_item.tags; }
    QVector3D translate() const { return m_item.translate; }
    QVector3D rotate() const { return m_item.rotate; }
    QVector3D scale() const { return m_item.scale; }
    bool isContainer() const; ///< groups and domains

protected:
    float number(const QString &key, float defaultValue) const;

    SceneItem m_item;
};

/// A mesh file in the scene.
class MeshItemView : public SceneItemView
{
public:
    using SceneItemView::SceneItemView;
    QString sourcePath() const;
};

/// A volume file in the scene.
class TetVolumeItemView : public SceneItemView
{
public:
    using SceneItemView::SceneItemView;
    QString sourcePath() const;
};

/// A camera. Distances are in scene units.
class CameraItemView : public SceneItemView
{
public:
    using SceneItemView::SceneItemView;
    float fovDegrees() const; ///< vertical; 45 unless set
    float nearPlane() const;  ///< 0.1 unless set
    float farPlane() const;   ///< 1000 unless set
    float orthoSize() const;  ///< height of the picture; 10 unless set
};

/// Writes a mesh item; item() is then handed to Corvane::updateItem.
class MeshItemEditor
{
public:
    explicit MeshItemEditor(const SceneItem &item)
        : m_item(item)
    {}
    void setSourcePath(const QString &path);
    const SceneItem &item() const { return m_item; }

private:
    SceneItem m_item;
};

/// Writes a camera item. Values that make no camera are refused: the setters answer false then.
class CameraItemEditor
{
public:
    explicit CameraItemEditor(const SceneItem &item)
        : m_item(item)
    {}
    bool setFovDegrees(float degrees);               ///< above 0 and below 180
    bool setPlanes(float nearPlane, float farPlane); ///< 0 < near < far
    bool setOrthoSize(float size);                   ///< above 0
    const SceneItem &item() const { return m_item; }

private:
    SceneItem m_item;
};

} // namespace corvane::model
