#pragma once

#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/component/ComponentLibrary.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/model/ParameterValue.h>
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
    QMap<QUuid, corvane::model::CatalogMaterial> materials{};
    QMap<QString, corvane::component::ComponentDefinition> library{};

    /// What one has and the other has not, as it would stand in a file; empty when they are the
    /// same there. A value may be stored in another way than before, an expression as a map, say.
    QString difference(const SceneState &other) const
    {
        QStringList found;
        const auto compare = [&found](const char *what, const QVariantMap &a,
                                      const QVariantMap &b) {
            const QByteArray now = QJsonDocument::fromVariant(a).toJson();
            const QByteArray before = QJsonDocument::fromVariant(b).toJson();
            if (now != before)
                found.append(QLatin1StringView(what) + QStringLiteral(" now: ") +
                             QString::fromUtf8(now) + QStringLiteral("before: ") +
                             QString::fromUtf8(before));
        };
        const auto compareRecords = [&compare](const char *what, const auto &a, const auto &b) {
            compare(what, differing(a, b), differing(b, a));
        };
        compareRecords("items", items, other.items);
        compareRecords("own materials", ownMaterials, other.ownMaterials);
        compareRecords("nodes", nodes, other.nodes);
        compareRecords("components", components, other.components);
        compareRecords("materials", materials, other.materials);
        compareRecords("library", library, other.library);
        if (!hasSameRest(other))
            compare("rest", rest(), other.rest());
        return found.join(u'\n');
    }

private:
    template<class Record>
    static QVariant plain(const Record &record)
    {
        QVariantMap map = record.toVariantMap();
        QVariantMap params = map.value(QStringLiteral("params")).toMap();
        for (QVariant &param : params)
            param = corvane::model::parameterForFile(param);
        if (!params.isEmpty())
            map.insert(QStringLiteral("params"), params);
        return corvane::model::plainForFile(map);
    }
    /// Those records of `a` that `b` does not have just so, by id.
    template<class Key, class Record>
    static QVariantMap differing(const QMap<Key, Record> &a, const QMap<Key, Record> &b)
    {
        QVariantMap found;
        for (auto it = a.cbegin(); a != b && it != a.cend(); ++it) {
            const auto same = b.constFind(it.key());
            if (same == b.cend() || *same != *it)
                found.insert(QVariant(it.key()).toString(), plain(*it));
        }
        return found;
    }

    bool hasSameRest(const SceneState &other) const
    {
        return itemRoots == other.itemRoots && settings == other.settings &&
               varsets == other.varsets && orders == other.orders &&
               customDefinitions == other.customDefinitions && nodeRoots == other.nodeRoots;
    }
    QVariantMap rest() const
    {
        const auto ids = [](const QList<QUuid> &list) {
            QStringList texts;
            for (const QUuid &id : list)
                texts.append(id.toString());
            return texts;
        };
        QVariantMap all{{QStringLiteral("settings"), settings},
                        {QStringLiteral("item roots"), ids(itemRoots)},
                        {QStringLiteral("node roots"), ids(nodeRoots)}};
        QVariantList definitions;
        for (const auto &definition : customDefinitions)
            definitions.append(definition->toVariantMap());
        all.insert(QStringLiteral("definitions"), definitions);
        for (auto varset = varsets.cbegin(); varset != varsets.cend(); ++varset) {
            QVariantMap entries;
            for (auto it = varset->cbegin(); it != varset->cend(); ++it)
                entries.insert(it.key(), it->toVariant());
            all.insert(QStringLiteral("varset ") + varset.key(),
                       QVariantList{entries, orders.value(varset.key())});
        }
        return all;
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
                       .materials = {},
                       .library = library.definitions()};
        now.varsets.insert(QString(), document->varsetEntries());
        now.orders.insert(QString(), document->variables().order());
        const auto &catalogue = materials.materials();
        for (auto it = catalogue.cbegin(); it != catalogue.cend(); ++it)
            now.materials.insert(it.key(), *it);
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
