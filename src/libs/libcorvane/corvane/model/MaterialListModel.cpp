#include <corvane/model/MaterialListModel.h>

#include <corvane/model/MaterialLibrary.h>

#include <QColor>

#include <algorithm>
#include <tuple>

namespace corvane::model {

namespace {

QColor colour(const QVector4D &albedo)
{
    const auto channel = [](float value) { return std::clamp(value, 0.0f, 1.0f); };
    return QColor::fromRgbF(channel(albedo.x()), channel(albedo.y()), channel(albedo.z()),
                            channel(albedo.w()));
}

} // namespace

MaterialListModel::MaterialListModel(MaterialLibrary *library, QObject *parent)
    : QAbstractListModel(parent)
    , m_library(library ? library : &MaterialLibrary::instance())
{
    connect(m_library, &MaterialLibrary::materialAdded, this, &MaterialListModel::rebuildCache);
    connect(m_library, &MaterialLibrary::materialUpdated, this, &MaterialListModel::rebuildCache);
    connect(m_library, &MaterialLibrary::materialRemoved, this, &MaterialListModel::rebuildCache);
    rebuildCache();
}

int MaterialListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_cache.size());
}

QVariant MaterialListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const CatalogMaterial &material = m_cache.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return material.name;
    case CategoryRole:
        return material.category;
    case BuiltInRole:
        return material.isBuiltIn;
    case Qt::DecorationRole:
    case AlbedoRole:
        return colour(material.material.albedo);
    case MetallicRole:
        return material.material.metallic;
    case RoughnessRole:
        return material.material.roughness;
    case EmissionRole:
        return material.material.emission;
    case MaterialPtrRole:
        return QVariant::fromValue(material);
    case LastModifiedRole:
        return material.lastModified;
    case Qt::ToolTipRole:
        return material.summary();
    default:
        return {};
    }
}

QHash<int, QByteArray> MaterialListModel::roleNames() const
{
    return {
        {NameRole, "name"},
        {CategoryRole, "category"},
        {BuiltInRole, "builtIn"},
        {AlbedoRole, "albedo"},
        {MetallicRole, "metallic"},
        {RoughnessRole, "roughness"},
        {EmissionRole, "emission"},
        {MaterialPtrRole, "materialPtr"},
        {LastModifiedRole, "lastModified"},
    };
}

void MaterialListModel::setCategoryFilter(const QString &category)
{
    if (m_category == category)
        return;
    m_category = category;
    rebuildCache();
}

void MaterialListModel::setUserOnly(bool on)
{
    if (m_isUserOnly == on)
        return;
    m_isUserOnly = on;
    rebuildCache();
}

QUuid MaterialListModel::materialId(int row) const
{
    return row >= 0 && row < m_cache.size() ? m_cache.at(row).id : QUuid();
}

int MaterialListModel::rowOf(const QUuid &materialId) const
{
    const auto it = std::find_if(
        m_cache.cbegin(), m_cache.cend(),
        [&materialId](const CatalogMaterial &material) { return material.id == materialId; });
    return it == m_cache.cend() ? -1 : int(it - m_cache.cbegin());
}

bool MaterialListModel::passesFilters(const CatalogMaterial &material) const
{
    const bool isInCategory = m_category.isEmpty() || material.category == m_category;
    return isInCategory && !(m_isUserOnly && material.isBuiltIn);
}

void MaterialListModel::rebuildCache()
{
    beginResetModel();
    m_cache.clear();
    const QList<CatalogMaterial> all = m_library ? m_library->allMaterials() : m_cache;
    for (const CatalogMaterial &material : all) {
        if (passesFilters(material))
            m_cache.append(material);
    }
    std::sort(m_cache.begin(), m_cache.end(),
              [](const CatalogMaterial &a, const CatalogMaterial &b) {
                  return std::tie(a.category, a.name) < std::tie(b.category, b.name);
              });
    endResetModel();
}

} // namespace corvane::model
