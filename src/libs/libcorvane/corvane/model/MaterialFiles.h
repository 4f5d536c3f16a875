#pragma once

#include <corvane/model/CatalogMaterial.h>

#include <QList>
#include <QString>

#include <optional>

namespace corvane::model {

/// The two files of a MaterialLibrary: "materials.json" with what the user made, and
/// "builtin_material_overrides.json" with the values of built-ins that were retuned.
///
/// A reader answers none when there is no file or it can't be understood; only then `error` has a
/// text. Whoever reads in order to write has a store::FolderLock on folder().
class MaterialFiles
{
public:
    struct UserMaterials
    {
        QList<CatalogMaterial> materials; ///< ids are unique and the same at each reading
        QString defaultName;              ///< empty: that of the program
    };

    /// @param folder  empty: that of the application
    explicit MaterialFiles(const QString &folder);

    QString folder() const;

    std::optional<UserMaterials> readUserMaterials(QString &error) const;
    /// False, and a warning, when that is not possible.
    bool writeUserMaterials(const UserMaterials &content) const;

    /// Of the materials the names and the values count.
    std::optional<QList<CatalogMaterial>> readOverrides(QString &error) const;
    bool writeOverrides(const QList<CatalogMaterial> &materials) const;

    /// Where the files are.
    QString userPath() const;
    QString overridePath() const;

private:
    QString m_folder;
};

} // namespace corvane::model
