#pragma once

#include <corvane/model/CatalogMaterial.h>
#include <corvane/model/Instance.h>
#include <corvane/model/ItemTable.h>
#include <corvane/model/SceneItem.h>
#include <corvane/model/VarsetTable.h>

#include <QObject>
#include <QSet>
#include <QSharedPointer>
#include <QStringList>

#include <functional>
#include <optional>

namespace corvane::registry {
class Definition;
}

namespace corvane::model {

class DocumentBlock;
class SceneVersion1Reader;
class SceneVersion1Writer;

/// The compiled scene document: a flat map of typed items, variables, settings and materials.
///
/// Everything that draws, meshes or exports reads this object. Two structures lie over the same
/// items. The *roots* and each item's "children" parameter are the expression of the field, a graph
/// without cycles where an item may stand in several places. The *hierarchy* of `parentId` and
/// `sortOrder` is the display tree.
///
/// sceneChanged() means that the compiled field may differ: everything rebuilds on it. A mere
/// change of parameters comes as instanceUpdated() alone. Lives on the main thread; other threads
/// take copies.
class Corvane : public QObject
{
    Q_OBJECT

public:
    explicit Corvane(QObject *parent = nullptr);
    ~Corvane() override;

    /// A new document that its parent and its last holder may both delete, whichever comes first.
    static QSharedPointer<Corvane> create(QObject *parent = nullptr);

    // Files

    /// Null on failure; errors and warnings are logged. Registers the definitions that the file
    /// brings.
    static QSharedPointer<Corvane> loadFromFile(const QString &path, QObject *parent = nullptr);
    /// Writes version 1. False, with the old file still in place, when it could not be written
    /// whole.
    bool saveToFile(const QString &path) const;
    /// The content of a version 1 file.
    QVariantMap toVariantMap() const;
    static QSharedPointer<Corvane> fromVariantMap(const QVariantMap &map,
                                                  QObject *parent = nullptr);
    /// Back to the state of a new document, with one sceneChanged(). Definitions of the file leave
    /// the registry.
    void reset();
    /// SHA-256, lower-case hexadecimal, over the content, the selection and the units: two
    /// fingerprints differ when the scene was modified.
    QString stateFingerprint() const;

    QString name() const { return m_name; }
    void setName(const QString &name);
    QString units() const { return m_units; } ///< "mm" unless the file says otherwise
    void setUnits(const QString &units);
    QVariantMap metadata() const { return m_metadata; }
    void setMetadata(const QVariantMap &metadata);

    // Items

    QMap<QUuid, SceneItem> items() const { return m_items.items(); }
    bool hasItem(const QUuid &id) const { return m_items.contains(id); }
    /// A copy; an empty item with a null id when there is none.
    SceneItem item(const QUuid &id) const;
    Instance instance(const QUuid &id) const;
    QList<SceneItem> instances() const { return m_items.items().values(); } ///< all items
    QList<SceneItem> itemsOfType(const QString &itemType) const;
    bool hasItemsOfType(const QString &itemType) const;
    /// Null for an unknown name.
    QUuid instanceIdByName(const QString &name) const { return m_items.idByName(name); }
    /// Grows with every change of any item, signals blocked or not.
    quint64 itemsRevision() const { return m_items.revision(); }
    /// Grows with every change that sceneChanged() tells of but those of settings and variables,
    /// which reach the field by way of items alone.
    quint64 structureRevision() const { return m_structureRevision; }
    QMap<QString, QUuid> nameIndex() const { return m_items.nameIndex(); }

    /// Returns the id, a new one when the item's was null. An item that has that id already is
    /// replaced.
    QUuid addItem(const SceneItem &item);
    /// These leave an item of that id alone, and return its id.
    QUuid addSdfItem(const QUuid &id, const QString &name);
    QUuid addGroupItem(const QUuid &id, const QString &name);
    /// An unknown id is logged. sceneChanged() follows only when name, type, parent, order or the
    /// "children" parameter changed.
    void updateItem(const SceneItem &item);
    void updateItem(const Instance &item) { updateItem(static_cast<const SceneItem &>(item)); }
    /// Unknown ids are ignored. What refers to the item stays as it is and resolves to nothing.
    void removeItem(const QUuid &id);
    /// Takes items and all roots out, and puts items in or in place of those of the same id. Told
    /// by sceneChanged() alone.
    void exchangeItems(const QSet<QUuid> &removed, const QList<SceneItem> &added);

    // Hierarchy (display tree)

    QList<QUuid> hierarchyRootIds() const { return m_items.hierarchyRootIds(); }
    QList<QUuid> hierarchyChildIds(const QUuid &parentId) const
    {
        return m_items.childIds(parentId);
    }
    QList<QUuid> childItemIds(const QUuid &parentId) const { return m_items.childIds(parentId); }
    QList<QUuid> rootItemIds() const { return m_items.hierarchyRootIds(); }
    QUuid parentInstanceId(const QUuid &id) const;
    int depth(const QUuid &id) const; ///< 0 at the top; at most 100
    /// False, and nothing changed, for an unknown item or parent, or where a cycle would arise.
    bool setParent(const QUuid &child, const QUuid &parent);
    /// Also puts the item at `index` among its siblings (at the end when out of range) and numbers
    /// them anew. Compiled items are no siblings of others.
    bool moveHierarchyItem(const QUuid &id, const QUuid &newParent, int index);
    /// The nearest "sdf_domain" above the item, null when there is none.
    QUuid domainForItem(const QUuid &id) const;
    /// The "sdf" items of a domain, or those of none for a null id, in the order of items().
    QList<QUuid> sdfItemsInDomain(const QUuid &domainId) const;

    // Expression of the field

    QList<QUuid> roots() const { return m_roots; }
    void setRoots(const QList<QUuid> &roots);
    void addRoot(const QUuid &id);
    void removeRoot(const QUuid &id);
    /// Whether every item is drawn: no roots were ever set, and the file had no "roots" key. When
    /// false, roots() is the picture, and an empty list is an empty picture (all roots of a file
    /// may name nothing).
    bool drawsAllItems() const { return !m_hasRoots; }
    /// Takes the roots back, as if none were ever set.
    void drawAllItems();
    /// What an item's "children" parameter names, in its order; references that name nothing are
    /// left out.
    QList<QUuid> childInstanceIds(const QUuid &id) const;
    /// The item that one reference of a "children" parameter names, null when none.
    QUuid resolveReference(const QString &reference) const { return m_items.resolve(reference); }

    // Selection: the "selected" tag

    QList<QUuid> selectedInstances() const;
    void setSelectedInstance(const QUuid &id);
    void addToSelection(const QUuid &id);
    void removeFromSelection(const QUuid &id);
    void clearSelection();
    /// Both for many at once, with one selectionChanged() if any changed.
    void changeSelection(const QList<QUuid> &removed, const QList<QUuid> &added);

    // Proxies: the "proxied" tag marks a subtree that is drawn as a mesh

    bool isProxyRoot(const QUuid &id) const;
    /// The tag on the item or on one of its 100 nearest ancestors.
    bool isProxied(const QUuid &id) const;
    /// Setting clears the tag below, so that proxies never nest.
    void setProxied(const QUuid &id, bool on);

    // Variables; see VarsetTable for names with dots

    const VarsetTable &variables() const { return m_variables; }
    QVariantMap varset() const { return m_varset; } ///< name to value of the unnamed varset
    VarsetEntries varsetEntries() const { return m_variables.entries(); }
    QStringList varsetOrder() const { return m_variables.order(); }
    QMap<QString, VarsetEntries> namedVarsets() const { return m_variables.namedVarsets(); }
    VarsetEntries namedVarset(const QString &name) const { return m_variables.namedVarset(name); }
    QStringList namedVarsetEntryOrder(const QString &name) const;
    bool hasVariable(const QString &name) const { return m_variables.contains(name); }
    /// An empty entry for an unknown name.
    VarsetEntry variableEntry(const QString &name) const;
    QStringList variableNames() const { return m_variables.variableNames(); }
    void setVariableEntry(const QString &name, const VarsetEntry &entry);
    /// The same for several at once, with one varsetChanged().
    void setVariableEntries(const VarsetEntries &entries);
    /// Sets or adds an entry of a varset that exists; the unnamed one is empty. The cost does not
    /// grow with the number of variables.
    void setVariableIn(const QString &varset, const QString &name, const VarsetEntry &entry);
    void removeVariable(const QString &name);
    /// False for an unknown name, or a new one that is taken or of another varset.
    bool renameVariable(const QString &oldName, const QString &newName);
    /// Replaces all variables, the named varsets and the orders.
    void setVariables(const VarsetTable &variables);
    void setNamedVarset(const QString &name, const VarsetEntries &entries);
    void removeNamedVarset(const QString &name);
    bool moveEntryToVarset(const QString &entry, const QString &from, const QString &to);

    /// Stores what an expression gave: the value only, with neither varsetChanged() nor
    /// sceneChanged(), since the evaluation is itself the answer to those. False when the variable
    /// is unknown or has that value already.
    bool storeEvaluatedVariable(const QString &name, const QVariant &value);

    // Settings: nested maps under dotted paths

    QVariantMap sceneSettings() const { return m_settings; }
    QVariant sceneSetting(const QString &path) const;
    void setSceneSetting(const QString &path, const QVariant &value);
    /// Replaces all settings.
    void setSceneSettings(const QVariantMap &settings);
    double animationFps() const; ///< 30 when missing or not above 0
    void setAnimationFps(double fps);
    int animationCurrentFrame() const;
    /// Emits animationFrameChanged() only: a step of a frame changes no field.
    void setAnimationCurrentFrame(int frame);
    bool animationPlaying() const;
    void setAnimationPlaying(bool playing);
    double animationTime() const; ///< seconds

    // Materials saved with the scene

    using MaterialSource = std::function<std::optional<CatalogMaterial>(const QUuid &)>;
    /// Where a save finds the materials that items name and the scene lacks, in place of the
    /// process-wide MaterialLibrary.
    static void setMaterialSource(const MaterialSource &source);
    QMap<QUuid, CatalogMaterial> materials() const { return m_materials; }
    std::optional<CatalogMaterial> material(const QUuid &id) const;
    QUuid materialIdByName(const QString &name) const { return m_materialNameIndex.value(name); }
    QUuid addMaterial(const CatalogMaterial &material);
    bool updateMaterial(const CatalogMaterial &material);
    void removeMaterial(const QUuid &id);

    // Definitions saved with the scene

    using DefinitionPtr = QSharedPointer<registry::Definition>;
    QList<DefinitionPtr> customDefinitions() const { return m_customDefinitions; }
    /// One of the same id is replaced.
    void addCustomDefinition(const DefinitionPtr &definition);
    void removeCustomDefinition(const QString &id);
    /// Replaces the list, and brings the registry's file-scoped definitions in line with it.
    void setCustomDefinitions(const QList<DefinitionPtr> &definitions);
    bool hasCustomDefinition(const QString &id) const;
    bool embedBuiltins() const { return m_embedBuiltins; }
    void setEmbedBuiltins(bool on) { m_embedBuiltins = on; }
    /// Puts the custom definitions in the registry that it lacks or holds with other content. Does
    /// not touch the registry when there are none.
    void registerFileScopedDefinitions();
    /// Takes those out again.
    void unregisterFileScopedDefinitions();

signals:
    void itemAdded(const QUuid &id, const QString &itemType);
    void itemUpdated(const QUuid &id, const QString &itemType);
    void itemRemoved(const QUuid &id, const QString &itemType);
    void proxyStateChanged(const QUuid &id, bool proxied);
    void instanceAdded(const QUuid &id);
    void instanceUpdated(const QUuid &id);
    void instanceRemoved(const QUuid &id);
    void instanceRenamed(const QUuid &id, const QString &oldName, const QString &newName);
    /// Comes before varsetChanged() where that is about one variable which was set or added.
    void variableSet(const QString &varset, const QString &name);
    void varsetChanged();
    void variableRenamed(const QString &oldName, const QString &newName);
    void rootsChanged();
    void selectionChanged();
    void sceneSettingsChanged();
    void sceneChanged();
    void nameChanged(const QString &name);
    void materialAdded(const QUuid &id);
    void materialUpdated(const QUuid &id);
    void materialRemoved(const QUuid &id);
    void animationFpsChanged(double fps);
    void animationFrameChanged(int frame);
    void animationPlayingChanged(bool playing);

private:
    friend class DocumentBlock; // they carry every member across, and nothing else should
    friend class SceneVersion1Reader;
    friend class SceneVersion1Writer;

    bool setTag(const QUuid &id, const QString &tag, bool on);
    bool clearSelectedTags();
    void rootsTouched();
    void structureTouched();
    bool storeVariable(const VarsetTable::Address &address, const VarsetEntry &entry);
    void varsetTouched();

    QString m_name;
    QString m_units = QStringLiteral("mm");
    QVariantMap m_varset;
    VarsetTable m_variables;
    QVariantMap m_settings;
    ItemTable m_items;
    QList<QUuid> m_roots;
    bool m_hasRoots = false;
    quint64 m_structureRevision = 0;
    QMap<QUuid, CatalogMaterial> m_materials;
    QMap<QString, QUuid> m_materialNameIndex;
    QList<DefinitionPtr> m_customDefinitions;
    QSet<QString> m_registeredFileScopedDefinitions;
    bool m_embedBuiltins = false;
    QVariantMap m_metadata;
    QVariantMap
        m_otherKeys; ///< keys of the file's block that mean nothing here, kept for the next save
};

/// The name less a run of white space and digits at its end, so that a copy of "Box 2" counts on
/// from "Box".
QString duplicateBaseName(const QString &name);

} // namespace corvane::model
