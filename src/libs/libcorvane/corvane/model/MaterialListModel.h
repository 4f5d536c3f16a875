#pragma once

#include <corvane/model/CatalogMaterial.h>

#include <QAbstractListModel>
#include <QList>
#include <QPointer>

namespace corvane::model {

class MaterialLibrary;

/// The materials of a library as a list, by category and name, and it follows the library.
class MaterialListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role {
        NameRole = Qt::UserRole + 1, ///< "name"; also Qt::DisplayRole
        CategoryRole,                ///< "category"
        BuiltInRole,                 ///< "builtIn"
        AlbedoRole,                  ///< "albedo": a colour; also Qt::DecorationRole
        MetallicRole,                ///< "metallic"
        RoughnessRole,               ///< "roughness"
        EmissionRole,                ///< "emission"
        MaterialPtrRole,             ///< "materialPtr": a CatalogMaterial by value
        LastModifiedRole,            ///< "lastModified"
    };

    /// @param library  not owned; the process-wide one for null
    explicit MaterialListModel(MaterialLibrary *library = nullptr, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    QString categoryFilter() const { return m_category; }
    /// Shows that category alone; empty for all.
    void setCategoryFilter(const QString &category);
    bool isUserOnly() const { return m_isUserOnly; }
    /// Leaves the built-ins out.
    void setUserOnly(bool on);

    /// Null for a row that does not exist.
    QUuid materialId(int row) const;
    /// -1 when it is not shown.
    int rowOf(const QUuid &materialId) const;

private:
    bool passesFilters(const CatalogMaterial &material) const;
    void rebuildCache();

    QPointer<MaterialLibrary> m_library;
    QList<CatalogMaterial> m_cache;
    QString m_category;
    bool m_isUserOnly = false;
};

} // namespace corvane::model

Q_DECLARE_METATYPE(corvane::model::CatalogMaterial)
