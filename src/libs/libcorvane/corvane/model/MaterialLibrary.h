#pragma once

#include <corvane/model/CatalogMaterial.h>
#include <corvane/model/MaterialFiles.h>

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QUuid>

#include <functional>

namespace corvane::model {

/// The catalogue of named materials, for all scenes: those that come with the program, and the
/// user's. Names are unique. Main thread.
///
/// The user's materials are in "materials.json"; of built-ins that were retuned the values are in
/// "builtin_material_overrides.json", by name. Built-in ids are made anew on each run, on purpose:
/// a saved scene carries a copy of each material that it uses, under the id that its nodes name.
///
/// Other processes may have a library in the same folder. An edit is made of what is on the disk by
/// then, and no other process can write in between: what others added since stays, and shows here
/// from then on, with its signals.
class MaterialLibrary : public QObject
{
    Q_OBJECT

public:
    /// A library in a folder of its own, for tests and tools; the program uses instance().
    explicit MaterialLibrary(const QString &folder, QObject *parent = nullptr);

    /// The process-wide one, in the application's data folder, read at the first call.
    static MaterialLibrary &instance();

    /// None for an unknown id. Valid until the library changes.
    const CatalogMaterial *material(const QUuid &id) const;
    const QHash<QUuid, CatalogMaterial> &materials() const { return m_materials; }
    /// By category, then name.
    QList<CatalogMaterial> allMaterials() const;
    /// Null when there is none of that name.
    QUuid idByName(const QString &name) const;

    /// Of new nodes.
    QUuid defaultMaterialId() const { return m_defaultMaterialId; }
    /// False for an unknown id. Kept, by name, for the next run.
    bool setDefaultMaterialId(const QUuid &id);
    /// The one that is being edited.
    QUuid activeMaterialId() const { return m_activeMaterialId; }
    bool setActiveMaterialId(const QUuid &id);

    /// Adds a material of the user, under its id unless that is null or taken. A name in use gets
    /// " (copy)", " (copy 2)", and so on; one without is a "New material". Returns the id.
    QUuid addMaterial(const CatalogMaterial &material);
    /// False for an unknown id and for a built-in. A name that another one has is made unique.
    bool updateMaterial(const CatalogMaterial &material);
    /// Puts a material of the user back just as it was, with the time of its last change: the one
    /// of that id is replaced, or it is added. False for a built-in. A name that another one has is
    /// made unique.
    bool restoreMaterial(const CatalogMaterial &material);
    /// Retunes a built-in, whose name and category stay; false for any other.
    bool updateBuiltInMaterial(const CatalogMaterial &material);
    /// False for an unknown id, a built-in and the default material. In place of the active one the
    /// default becomes active.
    bool removeMaterial(const QUuid &id);

    /// The name a copy of a material of that name gets, before it is made unique: "Wood" gives
    /// "Wood (copy)", that gives "Wood (copy 2)".
    static QString copyName(const QString &name);

signals:
    void materialAdded(const QUuid &id);
    void materialUpdated(const QUuid &id);
    void materialRemoved(const QUuid &id);
    void activeMaterialChanged(const QUuid &id);

private:
    using Materials = QHash<QUuid, CatalogMaterial>;

    void loadBuiltins();
    void load();
    /// Lets `change` edit what the disk has by now, and saves it. False when `change` refuses.
    /// Tells of what others changed; of the material `own`, as it is called after the change, its
    /// editor tells himself.
    bool edit(const QUuid &own, const std::function<bool()> &change);
    /// False when a file is there that can't be read, nor moved out of the way.
    bool refresh();
    void adopt(const MaterialFiles::UserMaterials &stored);
    void adoptOverrides(const QList<CatalogMaterial> &overrides);
    void tellOfOthers(const Materials &before, const QUuid &own);
    void insert(const CatalogMaterial &material);
    void change(const CatalogMaterial &material); ///< inserts what is to be saved
    void forgetUserMaterials();
    bool isBuiltIn(const QUuid &id) const;
    void save();
    void saveUserMaterials();
    void saveOverrides();
    QString uniqueName(const QString &name) const;

    MaterialFiles m_files;
    Materials m_materials;
    QHash<QString, QUuid> m_ids; ///< by name
    QUuid m_defaultMaterialId;
    QUuid m_activeMaterialId;
    QSet<QUuid> m_unsaved; ///< changed or removed since the disk was written
    bool m_isDefaultUnsaved = false;
};

} // namespace corvane::model
