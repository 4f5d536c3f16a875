#pragma once

#include <corvane/component/ComponentLibrary.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/LogicalSceneCompiler.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/model/PlainValue.h>
#include <corvane/ops/CorvaneOpExecutor.h>
#include <corvane/registry/Definition.h>

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QUndoStack>

/// All that ops can change, by implicitly shared copies: document, tree, selection and libraries.
struct SceneState
{
    QMap<QUuid, corvane::model::SceneItem> items{}; ///< their tags hold the selection
    QList<QUuid> itemRoots{};
    QVariantMap settings{};
    QMap<QString, corvane::model::VarsetEntries> varsets{}; ///< the unnamed one under no name
    QMap<QString, QStringList> orders{};
    QList<QSharedPointer<corvane::registry::Definition>> customDefinitions{};
    QMap<QUuid, corvane::model::CatalogMaterial> ownMaterials{};
    QMap<QUuid, corvane::model::LogicalInstance> nodes{};
    QList<QUuid> nodeRoots{};
    QMap<QString, corvane::component::ComponentDefinition> components{};
    QList<corvane::model::CatalogMaterial> materials{};
    QMap<QString, corvane::component::ComponentDefinition> library{};

    bool operator==(const SceneState &) const = default;

    /// What a file would hold: the same for states that are stored in different ways.
    QByteArray text() const
    {
        QVariantMap all{{QStringLiteral("settings"), settings},
                        {QStringLiteral("itemRoots"), QVariant::fromValue(itemRoots)},
                        {QStringLiteral("nodeRoots"), QVariant::fromValue(nodeRoots)}};
        all.insert(QStringLiteral("items"), maps(items));
        all.insert(QStringLiteral("ownMaterials"), maps(ownMaterials));
        all.insert(QStringLiteral("nodes"), maps(nodes));
        all.insert(QStringLiteral("components"), maps(components));
        all.insert(QStringLiteral("materials"), maps(materials));
        all.insert(QStringLiteral("library"), maps(library));
        QVariantList definitions;
        for (const auto &definition : customDefinitions)
            definitions.append(definition->toVariantMap());
        all.insert(QStringLiteral("customDefinitions"), definitions);
        for (auto varset = varsets.cbegin(); varset != varsets.cend(); ++varset) {
            QVariantMap entries;
            for (auto it = varset->cbegin(); it != varset->cend(); ++it)
                entries.insert(it.key(), it->toVariant());
            all.insert(QStringLiteral("varset ") + varset.key(),
                       QVariantList{entries, orders.value(varset.key())});
        }
        return QJsonDocument::fromVariant(all).toJson();
    }

private:
    template<class Records>
    static QVariantList maps(const Records &records)
    {
        QVariantList list;
        for (const auto &record : records)
            list.append(corvane::model::plainForFile(record.toVariantMap()));
        return list;
    }
};

/// A scene with a tree, libraries in a folder of their own, and the executor over them.
struct OpFixture
{
    QTemporaryDir folder;
    QSharedPointer<corvane::model::Corvane> document =
        QSharedPointer<corvane::model::Corvane>::create();
    corvane::model::LogicalScene tree;
    corvane::component::ComponentLibrary library{folder.filePath(QStringLiteral("components"))};
    corvane::model::MaterialLibrary materials{folder.filePath(QStringLiteral("materials"))};
    corvane::ops::CorvaneOpExecutor executor{document};

    OpFixture()
    {
        executor.setLogicalScene(&tree);
        executor.setComponentLibrary(&library);
        executor.setMaterialLibrary(&materials);
        // What a document writes of the materials that it uses.
        corvane::model::Corvane::setMaterialSource([this](const QUuid &id) {
            const auto *material = materials.material(id);
            return material ? std::optional(*material) : std::nullopt;
        });
    }
    ~OpFixture()
    {
        document->unregisterFileScopedDefinitions();
        corvane::model::Corvane::setMaterialSource({});
    }

    bool apply(QLatin1StringView kind, const QVariantMap &args)
    {
        return executor.apply({kind, args});
    }
    /// The id of what was added; null when the op was refused.
    QUuid add(const QVariantMap &args)
    {
        const bool isAdded = apply(corvane::ops::OpKind::ItemAdd, args);
        return isAdded ? executor.lastCreatedId() : QUuid();
    }
    QUuid addNode(const QString &definitionId, const QUuid &parentId = {})
    {
        return add({{QStringLiteral("itemType"), QStringLiteral("sdf")},
                    {QStringLiteral("definitionId"), definitionId},
                    {QStringLiteral("parentId"), parentId}});
    }
    QUndoStack &stack() { return *executor.undoStack(); }

    /// The same as state(), at the cost of what changes.
    SceneState sceneState()
    {
        SceneState now{.items = document->items(),
                       .itemRoots = document->roots(),
                       .settings = document->sceneSettings(),
                       .varsets = document->namedVarsets(),
                       .orders = document->variables().entryOrder(),
                       .customDefinitions = document->customDefinitions(),
                       .ownMaterials = document->materials(),
                       .nodes = tree.instances(),
                       .nodeRoots = tree.roots(),
                       .components = tree.componentRegistry()->definitions(),
                       .materials = materials.allMaterials(),
                       .library = library.definitions()};
        now.varsets.insert(QString(), document->varsetEntries());
        now.orders.insert(QString(), document->variables().order());
        const auto byId = [](const auto &a, const auto &b) { return a.id < b.id; };
        std::sort(now.materials.begin(), now.materials.end(), byId);
        return now;
    }

    /// All that ops can change: two are equal when document, tree, selection and libraries are.
    QByteArray state()
    {
        QVariantList selected;
        const auto selectedIds = document->selectedInstances();
        for (const QUuid &id : selectedIds)
            selected.append(id.toString());
        // What the document's fingerprint is made of, so that a difference can be shown.
        QVariantMap all{{QStringLiteral("document"), document->toVariantMap()},
                        {QStringLiteral("selected"), selected},
                        {QStringLiteral("tree"), tree.toVariantMap()}};
        QVariantMap catalogue;
        const auto everyMaterial = materials.allMaterials();
        for (const auto &material : everyMaterial) {
            catalogue.insert(material.id.toString(), material.toVariantMap());
        }
        all.insert(QStringLiteral("materials"), catalogue);
        QVariantMap published;
        const auto definitions = library.definitions();
        for (const auto &definition : definitions)
            published.insert(definition.id, definition.toVariantMap());
        all.insert(QStringLiteral("library"), published);
        return QJsonDocument::fromVariant(all).toJson(QJsonDocument::Compact);
    }
};

/// What follows the edits of a scene in an editor: the tree is compiled into the document, and the
/// document's expressions are evaluated.
struct EditorFollowers
{
    corvane::model::LogicalSceneCompiler compiler;
    corvane::expr::ExpressionManager expressions;

    explicit EditorFollowers(OpFixture &fixture)
        : expressions(fixture.document.data())
    {
        QObject::connect(&compiler, &corvane::model::LogicalSceneCompiler::compiled, &expressions,
                         &corvane::expr::ExpressionManager::evaluateAll);
        compiler.setSource(&fixture.tree);
        compiler.setTarget(fixture.document.data());
        compiler.fullCompile();
        fixture.executor.setExpressionManager(&expressions);
    }
};
