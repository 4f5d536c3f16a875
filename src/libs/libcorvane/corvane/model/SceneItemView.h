#pragma once

#include <corvane/model/SceneItem.h>

namespace corvane::model {

class LogicalScene;
struct LogicalInstance;

/// Reads an item, or a node of the user's tree, for the interface. A view is a copy: it does not
/// follow the scene.
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
    QString componentId() const;  ///< of a node that places a component, else empty
    /// The parameters of an item of type "sdf", as they are stored.
    QVariantMap params() const;
    QSet<QString> tags() const { return m_item.tags; }
    QVector3D translate() const { return m_item.translate; }
    QVector3D rotate() const { return m_item.rotate; }
    QVector3D scale() const { return m_item.scale; }
    bool isContainer() const; ///< groups and domains
    bool isComponent() const { return !componentId().isEmpty(); }
    bool isHidden() const { return m_item.hasTag(ItemTags::Hidden); }
    bool isIsolated() const { return m_item.hasTag(ItemTags::Isolated); }

protected:
    float number(const QString &key, float defaultValue) const;

    SceneItem m_item;
};

/// The view of a node that may have no compiled item: id, name, tags, transform and parameters are
/// the node's own, and a group is of the type "group".
SceneItemView syntheticViewFromNode(const LogicalInstance &node);

/// The view of an item. The core of a node that is compiled is seen as the node, with the item's
/// parameters: these hold what expressions gave. Any other item is seen as it is.
/// @param scene  none for a document without a tree
SceneItemView viewFromImpl(const SceneItem &item, const LogicalScene *scene);

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
