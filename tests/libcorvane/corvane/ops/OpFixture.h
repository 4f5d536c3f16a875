#pragma once

#include <corvane/component/ComponentLibrary.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/LogicalSceneCompiler.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/ops/CorvaneOpExecutor.h>

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QUndoStack>

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
