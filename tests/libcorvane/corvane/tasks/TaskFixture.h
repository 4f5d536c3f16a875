#pragma once

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/CorvaneOpExecutor.h>
#include <corvane/ops/CorvaneServiceLocator.h>
#include <corvane/tasks/CorvaneTasks.h>
#include <corvane/zirn/ZirnTaskContext.h>
#include <corvane/zirn/ZirnTaskRegistry.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace corvane::zirn {

/// Arguments as a plan has them.
inline QVariantMap mapOf(const char *json)
{
    return QJsonDocument::fromJson(json).object().toVariantMap();
}

/// A scene that is open, and the tasks.
struct TaskFixture
{
    QSharedPointer<model::Corvane> document = model::Corvane::create();
    model::LogicalScene tree;
    ops::CorvaneOpExecutor executor{document};
    ZirnTaskRegistry registry;

    TaskFixture()
    {
        executor.setLogicalScene(&tree);
        auto &locator = ops::CorvaneServiceLocator::instance();
        locator.clear();
        locator.setScene(document);
        locator.setExecutor(&executor);
        registerCorvaneTasks(&registry);
    }
    ~TaskFixture()
    {
        ops::CorvaneServiceLocator::instance().clear();
        document->unregisterFileScopedDefinitions();
    }

    ZirnTaskResult call(const QString &task, const QVariantMap &arguments = {})
    {
        ZirnTaskContext context(QStringLiteral("test"));
        return registry.task(task)->execute(ZirnTaskParams(arguments), &context);
    }
    /// The id of a new node.
    QString add(const QString &definitionId, const QVariantMap &more = {})
    {
        QVariantMap arguments{{QStringLiteral("itemType"), QStringLiteral("sdf")},
                              {QStringLiteral("definitionId"), definitionId}};
        arguments.insert(more);
        return call(QStringLiteral("corvane.item.add"), arguments)
            .outputs.value(QStringLiteral("itemId"));
    }
    QJsonObject item(const QString &id)
    {
        const auto result =
            call(QStringLiteral("corvane.scene.get_item"), {{QStringLiteral("itemId"), id}});
        const QByteArray json = result.outputs.value(QStringLiteral("item")).toUtf8();
        return QJsonDocument::fromJson(json).object();
    }
};

/// For initTestCase(): what tasks keep goes to this folder, and the registry has said what it
/// loads.
inline void prepareTasks(const QTemporaryDir &home)
{
    qputenv("XDG_DATA_HOME", home.path().toLocal8Bit());
    TaskFixture().add(QStringLiteral("sphere"));
}

} // namespace corvane::zirn
