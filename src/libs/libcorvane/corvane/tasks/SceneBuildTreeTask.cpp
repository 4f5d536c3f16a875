#include <corvane/tasks/SceneBuildTreeTask.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/NearestName.h>
#include <corvane/ops/CorvaneOpExecutor.h>
#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>
#include <corvane/tasks/Arguments.h>
#include <corvane/tasks/CameraTasks.h>
#include <corvane/tasks/EditArguments.h>
#include <corvane/tasks/MainThread.h>
#include <corvane/tasks/ParameterCheck.h>
#include <corvane/tasks/TreeDescription.h>
#include <corvane/zirn/FailureText.h>

#include <QHash>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

const QString attempt = u"build tree"_s;

/// " There is no definition of this name. Did you mean \"sphere\"?"; nothing for one that there is.
QString unknownDefinition(const QString &id)
{
    const registry::Registry &registry = registry::Registry::instance();
    if (registry.contains(id))
        return {};
    QStringList known;
    const auto definitions = registry.getAllPrimitives();
    for (const auto &definition : definitions)
        known.append(definition->id);
    return u" There is no definition of this name. "_s +
           model::didYouMean(id, known, u"corvane.scene.list_definitions lists them."_s);
}

/// Creates the nodes of a description one by one, on the main thread.
class TreeBuilder
{
public:
    explicit TreeBuilder(const SceneAccess &access)
        : m_access(access)
    {}

    /// What went wrong; empty when all nodes were created.
    QString build(const TreeDescription &description)
    {
        for (const TreeDescription::Node &node : description.nodes) {
            const QString error = create(node);
            if (!error.isEmpty())
                return error;
        }
        return {};
    }
    qsizetype count() const { return m_ids.size(); }
    QString idOf(const QString &name) const { return m_ids.value(name); }
    QString notes() const { return m_notes; }

private:
    QString create(const TreeDescription::Node &node)
    {
        if (node.definitionId.isEmpty())
            return u"Instance '%1' has no 'definition' field."_s.arg(node.name);
        if (!m_access.tree)
            return u"No LogicalScene available."_s;
        const QString failure =
            u"Failed to create instance '%1' (definition: %2)."_s.arg(node.name, node.definitionId);
        if (const QString why = unknownDefinition(node.definitionId); !why.isEmpty())
            return failure + why;
        QVariantMap arguments{{u"itemType"_s, u"sdf"_s},
                              {u"definitionId"_s, node.definitionId},
                              {u"name"_s, node.name}};
        if (!node.parentName.isEmpty())
            arguments.insert(u"parentId"_s, m_ids.value(node.parentName));
        ops::CorvaneOpExecutor &executor = *m_access.executor;
        if (!executor.apply({ops::OpKind::ItemAdd, arguments}))
            return failure;
        const QUuid id = executor.lastCreatedId();
        if (!m_access.isNode(id))
            return u"Could not determine UUID for '%1'."_s.arg(node.name);
        m_ids.insert(node.name, id.toString(QUuid::WithoutBraces));
        return node.params.isEmpty() ? QString() : setParameters(node, id);
    }

    QString setParameters(const TreeDescription::Node &node, const QUuid &id)
    {
        QString cause;
        const auto arguments = prepareParameters(
            m_access, {{u"itemId"_s, m_ids.value(node.name)}, {u"parameters"_s, node.params}},
            cause);
        if (!arguments || !m_access.executor->apply({ops::OpKind::SdfSetAllParams, *arguments})) {
            const QString failure = u"Failed to set parameters on '%1'."_s.arg(node.name);
            return cause.isEmpty() ? failure : u"%1 %2."_s.arg(failure, cause);
        }
        noteParameters(node, id);
        return {};
    }

    void noteParameters(const TreeDescription::Node &node, const QUuid &id)
    {
        constexpr int mostNotes = 5;
        const QString note = unreadParameters(m_access, id, node.params);
        if (!note.isEmpty() && m_noteCount++ < mostNotes)
            m_notes += note;
    }

    const SceneAccess &m_access;
    QString m_notes;
    int m_noteCount = 0;
    QHash<QString, QString> m_ids; ///< of what was created, by the names of the description
};

ZirnTaskResult built(const TreeDescription &description, const TreeBuilder &builder,
                     const QString &batchId)
{
    QStringList rootIds;
    for (const QString &name : description.rootNames)
        rootIds.append(builder.idOf(name));
    const QString count = QString::number(builder.count());
    constexpr qsizetype mostNotes = 5;
    return ZirnTaskResult::succeeded(
        u"Built SDF tree: %1 instances created"_s.arg(count) +
            description.notes.mid(0, mostNotes).join(QString()) + builder.notes(),
        {{u"rootIds"_s, rootIds.join(u',')}, {u"count"_s, count}, {u"batchId"_s, batchId}});
}

/// In one go: the description becomes one edit, which nothing else comes between, and the scene is
/// compiled once.
ZirnTaskResult buildNow(const TreeDescription &description, const SceneAccess &access)
{
    TreeBuilder builder(access);
    const QString batchId = access.executor->beginBatch(u"Build SDF Tree"_s);
    if (batchId.isEmpty())
        return ZirnTaskResult::failed(u"Failed to begin undo batch."_s);
    QString error;
    {
        std::optional<model::LogicalScene::Batch> pause;
        if (access.tree)
            pause.emplace(*access.tree);
        error = builder.build(description);
    }
    access.executor->endBatch();
    if (error.isEmpty()) {
        fitContentIfShown();
        return built(description, builder, batchId);
    }
    return ZirnTaskResult::failed(
        u"Build tree failed at instance %1/%2: %3 State: %1 instances were created (undoable as "
        u"batch). Suggestion: fix the tree description and retry."_s.arg(
            QString::number(builder.count()), QString::number(description.nodes.size()), error));
}

} // namespace

SceneBuildTreeTask::SceneBuildTreeTask(const TaskRow &row)
    : CorvaneMutationTask(row.name, row.description.toString(), {}, {}, {})
    , m_row(row)
{}

ZirnTaskPtr SceneBuildTreeTask::make(const TaskRow &row)
{
    return QSharedPointer<SceneBuildTreeTask>::create(row);
}

ZirnTaskResult SceneBuildTreeTask::doMutate(const ZirnTaskParams &arguments,
                                            ops::CorvaneOpExecutor *executor,
                                            QSharedPointer<model::Corvane> scene,
                                            model::LogicalScene *logicalScene)
{
    const QString unknown = unknownArgument(attempt, m_row.arguments(), arguments);
    if (!unknown.isEmpty())
        return ZirnTaskResult::failed(unknown);
    QString cause;
    QString suggestion;
    const auto wanted = TreeDescription::read(arguments.value(u"tree"_s), cause, suggestion);
    if (!wanted)
        return failed(attempt, cause, suggestion);
    const auto result = onMainThread([&] {
        const SceneAccess access{scene, logicalScene, executor};
        return access.isCurrent() ? buildNow(*wanted, access) : sceneIsGone(attempt);
    });
    return result.value_or(sceneIsGone(attempt));
}

} // namespace corvane::zirn
