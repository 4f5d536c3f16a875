#include <corvane/model/SceneItemView.h>

#include <corvane/model/Instance.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/PlainValue.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

constexpr float defaultFovDegrees = 45.0f;
constexpr float defaultNearPlane = 0.1f;
constexpr float defaultFarPlane = 1000.0f;
constexpr float defaultOrthoSize = 10.0f;
const QString componentKey = QStringLiteral("component");
const QString childrenParam = QStringLiteral("children");

} // namespace

QString SceneItemView::definitionId() const
{
    return m_item.itemType == ItemTypes::Sdf ? Instance(m_item).definitionId() : QString();
}

QString SceneItemView::componentId() const
{
    return m_item.itemType == ItemTypes::Sdf ? m_item.typeData.value(componentKey).toString()
                                             : QString();
}

QVariantMap SceneItemView::params() const
{
    return m_item.itemType == ItemTypes::Sdf ? Instance(m_item).rawParams() : QVariantMap();
}

bool SceneItemView::isContainer() const
{
    return m_item.itemType == ItemTypes::Group || m_item.itemType == ItemTypes::SdfDomain;
}

float SceneItemView::number(const QString &key, float defaultValue) const
{
    return readFloat(m_item.typeData.value(key)).value_or(defaultValue);
}

SceneItemView syntheticViewFromNode(const LogicalInstance &node)
{
    Instance item{SceneItem(node.id)};
    item.itemType = node.isContainer() ? ItemTypes::Group : ItemTypes::Sdf;
    item.capabilities =
        node.isContainer() ? ItemCapabilities::groupItem : ItemCapabilities::sdfItem;
    item.name = node.name;
    item.tags = node.tags;
    item.material = node.material;
    item.materialId = node.materialId;
    item.translate = node.translate;
    item.rotate = node.rotate;
    item.scale = node.scale;
    if (node.isContainer())
        return SceneItemView(item);
    if (node.isComponentInstance())
        item.typeData.insert(componentKey, node.componentDefId);
    else
        item.setDefinitionId(node.definitionId);
    item.setRawParams(node.params);
    item.setModifiers(node.modifiers);
    return SceneItemView(item);
}

SceneItemView viewFromImpl(const SceneItem &item, const LogicalScene *scene)
{
    const Instance compiled(item);
    const SDFNodeProvenance from = compiled.provenance();
    const bool isCore = from.role == SDFNodeProvenance::Role::Core;
    const LogicalInstance *node = scene && isCore ? scene->instance(from.sourceItemId) : nullptr;
    if (!node)
        return SceneItemView(item);
    Instance seen(syntheticViewFromNode(*node).item());
    QVariantMap params = compiled.rawParams();
    params.remove(childrenParam);
    seen.setRawParams(params);
    return SceneItemView(seen);
}

QString MeshItemView::sourcePath() const
{
    return m_item.typeData.value(u"sourcePath"_s).toString();
}

QString TetVolumeItemView::sourcePath() const
{
    return m_item.typeData.value(u"sourcePath"_s).toString();
}

float CameraItemView::fovDegrees() const
{
    return number(u"fovDegrees"_s, defaultFovDegrees);
}

float CameraItemView::nearPlane() const
{
    return number(u"nearPlane"_s, defaultNearPlane);
}

float CameraItemView::farPlane() const
{
    return number(u"farPlane"_s, defaultFarPlane);
}

float CameraItemView::orthoSize() const
{
    return number(u"orthoSize"_s, defaultOrthoSize);
}

void MeshItemEditor::setSourcePath(const QString &path)
{
    m_item.typeData.insert(u"sourcePath"_s, path);
}

bool CameraItemEditor::setFovDegrees(float degrees)
{
    if (!(degrees > 0.0f && degrees < 180.0f))
        return false;
    m_item.typeData.insert(u"fovDegrees"_s, degrees);
    return true;
}

bool CameraItemEditor::setPlanes(float nearPlane, float farPlane)
{
    if (!(nearPlane > 0.0f && farPlane > nearPlane && std::isfinite(farPlane)))
        return false;
    m_item.typeData.insert(u"nearPlane"_s, nearPlane);
    m_item.typeData.insert(u"farPlane"_s, farPlane);
    return true;
}

bool CameraItemEditor::setOrthoSize(float size)
{
    if (!(size > 0.0f && std::isfinite(size)))
        return false;
    m_item.typeData.insert(u"orthoSize"_s, size);
    return true;
}

} // namespace corvane::model
