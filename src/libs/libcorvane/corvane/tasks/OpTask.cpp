#include <corvane/tasks/OpTask.h>

#include <corvane/component/ComponentRegistry.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/ops/CorvaneOpDescriber.h>
#include <corvane/ops/CorvaneOpExecutor.h>
#include <corvane/registry/Registry.h>
#include <corvane/tasks/Arguments.h>
#include <corvane/tasks/MainThread.h>
#include <corvane/tasks/TaskJson.h>
#include <corvane/zirn/FailureText.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

QString failed(const QString &attempt, const QString &cause, const QString &suggestion)
{
    return failureText({.attempt = attempt, .cause = cause, .suggestion = suggestion});
}

// ------------------------------------------------------------------ what a target is called

QString variableName(const QVariantMap &arguments, const QString &name)
{
    QString varset = arguments.value(u"varsetName"_s).toString();
    if (varset.isEmpty())
        varset = arguments.value(u"srcVarset"_s).toString();
    return varset.isEmpty() ? name : varset + u'.' + name;
}

bool isMaterial(const SceneAccess &access, const QUuid &id, bool mustBeOwn)
{
    if (const auto *known = model::MaterialLibrary::instance().material(id))
        return !mustBeOwn || !known->isBuiltIn;
    const auto saved = access.document->material(id);
    return saved && (!mustBeOwn || !saved->isBuiltIn);
}

bool isDefinition(const SceneAccess &access, const QString &id)
{
    return registry::Registry::instance().contains(id) ||
           (access.tree && access.tree->componentRegistry()->contains(id));
}

bool exists(const SceneAccess &access, TargetKind target, const QVariantMap &arguments,
            const QString &name)
{
    const QUuid id = QUuid::fromString(name);
    switch (target) {
    case TargetKind::None:
        return true;
    case TargetKind::Item:
        return !access.resolve(name).isNull();
    case TargetKind::Variable:
        return access.document->hasVariable(variableName(arguments, name));
    case TargetKind::Varset:
        return access.document->namedVarsets().contains(name);
    case TargetKind::CustomDefinition:
        return access.document->hasCustomDefinition(name);
    case TargetKind::Material:
        return isMaterial(access, id, false);
    case TargetKind::OwnMaterial:
        return isMaterial(access, id, true);
    }
    return false;
}

/// The task that lists what the target is one of.
QLatin1StringView listTask(TargetKind target)
{
    switch (target) {
    case TargetKind::Variable:
    case TargetKind::Varset:
        return "corvane.varset.list"_L1;
    case TargetKind::CustomDefinition:
        return "corvane.scene.list_definitions"_L1;
    case TargetKind::Material:
    case TargetKind::OwnMaterial:
        return "corvane.material.list"_L1;
    case TargetKind::None:
    case TargetKind::Item:
        break;
    }
    return "corvane.scene.list_items"_L1;
}

// ------------------------------------------------------------------ words of success

QString nameOf(const SceneAccess &access, const QUuid &id)
{
    if (access.isNode(id))
        return std::as_const(*access.tree).instance(id)->name;
    if (access.document->hasItem(id))
        return access.document->item(id).name;
    const auto *material = model::MaterialLibrary::instance().material(id);
    return material ? material->name : QString();
}

/// Replaces each "{key}" once, so that braces in a value stay what they are.
QString filled(QStringView words, const QMap<QString, QString> &values)
{
    QString text;
    for (qsizetype at = 0; at < words.size();) {
        const qsizetype open = words.indexOf(u'{', at);
        const qsizetype close = open < 0 ? -1 : words.indexOf(u'}', open);
        if (close < 0)
            return text + words.mid(at).toString();
        text += words.mid(at, open - at);
        text += values.value(words.mid(open + 1, close - open - 1).toString());
        at = close + 1;
    }
    return text;
}

QMap<QString, QString> wordsFor(const QVariantMap &arguments)
{
    QMap<QString, QString> words;
    for (auto it = arguments.cbegin(); it != arguments.cend(); ++it)
        words.insert(it.key(), textOf(*it));
    const QString parent = words.value(u"newParentId"_s);
    words.insert(u"parent"_s, parent.isEmpty() ? u"root"_s : parent);
    words.insert(u"destination"_s,
                 ops::CorvaneOpDescriber::varsetLabel(arguments.value(u"dstVarset"_s).toString()));
    const bool isOn = arguments.value(u"proxied"_s).toBool();
    words.insert(u"state"_s, isOn ? u"enabled"_s : u"disabled"_s);
    const auto sizeOf = [&](const QString &key) { return arguments.value(key).toMap().size(); };
    words.insert(u"count"_s, QString::number(sizeOf(u"parameters"_s) + sizeOf(u"settings"_s)));
    const QVariantMap definition = arguments.value(u"definition"_s).toMap();
    words.insert(u"definitionName"_s, definition.value(u"id"_s).toString());
    return words;
}

} // namespace

OpTask::OpTask(const TaskRow &row)
    : CorvaneMutationTask(row.name, row.description.toString(), {}, {}, {})
    , m_row(row)
{}

ZirnTaskResult OpTask::doMutate(const ZirnTaskParams &arguments, ZirnTaskContext &,
                                ops::CorvaneOpExecutor *executor,
                                const QSharedPointer<model::Corvane> &scene,
                                model::LogicalScene *tree)
{
    const QVariantMap known = knownArguments(m_row, arguments);
    if (const ParamRow *missing = missingArgument(m_row, known))
        return ZirnTaskResult::failed(failed(m_row.op.attempt, missing->name + u" is required"_s,
                                             u"provide the "_s + missing->description.toString()));
    const auto result = onMainThread([&] {
        const SceneAccess access{scene, tree, executor};
        return access.isCurrent() ? applyTo(access, known) : sceneIsGone(m_row.op.attempt);
    });
    return result.value_or(sceneIsGone(m_row.op.attempt));
}

ZirnTaskResult OpTask::applyTo(const SceneAccess &access, QVariantMap arguments) const
{
    const QString missing = whatIsMissing(access, arguments);
    if (!missing.isEmpty())
        return ZirnTaskResult::failed(missing);
    QVariantMap opArguments = arguments;
    if (m_row.op.prepare) {
        QString cause;
        const auto prepared = m_row.op.prepare(access, arguments, cause);
        if (!prepared)
            return ZirnTaskResult::failed(
                failed(m_row.op.attempt, cause, u"check parameters and try again"_s));
        opArguments = *prepared;
    }
    const auto created = applyOps(access, opArguments);
    if (!created)
        return ZirnTaskResult::failed(failed(m_row.op.attempt, u"executor rejected the operation"_s,
                                             u"check parameters and try again"_s));
    return succeeded(access, arguments, *created);
}

/// The id of what was made, null when that is nothing; none when the executor refuses.
std::optional<QUuid> OpTask::applyOps(const SceneAccess &access, const QVariantMap &arguments) const
{
    const OpRow &op = m_row.op;
    ops::CorvaneOpExecutor &executor = *access.executor;
    const auto apply = [&executor, &op, &arguments]() -> std::optional<QUuid> {
        if (!applyOnMainThread(&executor, {op.kind, arguments}))
            return std::nullopt;
        return executor.lastCreatedId();
    };
    if (!op.followUp || !op.followUp(arguments, {}))
        return apply();
    executor.beginBatch(ops::CorvaneOpDescriber::describe({op.kind, arguments}));
    const auto created = apply();
    const bool isDone = created && executor.apply(*op.followUp(arguments, *created));
    executor.endBatch();
    return isDone ? created : std::nullopt;
}

/// Also puts the ids in their place under which the scene has what is meant.
QString OpTask::whatIsMissing(const SceneAccess &access, QVariantMap &arguments) const
{
    const QString missing = missingTarget(access, arguments);
    if (!missing.isEmpty())
        return missing;
    for (const ParamRow &param : m_row.arguments()) {
        const QString text = arguments.value(param.name).toString();
        const QString key = param.name;
        if (text.isEmpty() || key == m_row.op.targetKey)
            continue;
        if (param.kind == ArgumentKind::DefinitionId && !isDefinition(access, text))
            return failed(m_row.op.attempt, u"definition '%1' not found"_s.arg(text),
                          u"check %1 or run corvane.scene.list_definitions"_s.arg(key));
        if (param.kind != ArgumentKind::ParentId)
            continue;
        const QUuid parent = access.resolve(text);
        if (parent.isNull())
            return failed(m_row.op.attempt, u"parent %1 not found"_s.arg(text),
                          u"check %1 or run corvane.scene.list_items"_s.arg(key));
        arguments.insert(key, parent.toString(QUuid::WithoutBraces));
    }
    return {};
}

QString OpTask::missingTarget(const SceneAccess &access, QVariantMap &arguments) const
{
    const OpRow &op = m_row.op;
    const QString wanted = arguments.value(op.targetKey).toString();
    if (exists(access, op.target, arguments, wanted)) {
        if (op.target == TargetKind::Item)
            arguments.insert(op.targetKey, access.resolve(wanted).toString(QUuid::WithoutBraces));
        return {};
    }
    if (wanted.isEmpty())
        return failed(op.attempt, op.targetKey + u" is required"_s,
                      u"check %1 or run %2"_s.arg(op.targetKey, listTask(op.target)));
    const QString cause =
        op.target == TargetKind::OwnMaterial ? u"not found or built-in"_s : u"not found"_s;
    return failed(ops::fillText(op.attemptOn, {wanted}), cause,
                  u"check %1 or run %2"_s.arg(op.targetKey, listTask(op.target)));
}

ZirnTaskResult OpTask::succeeded(const SceneAccess &access, const QVariantMap &arguments,
                                 const QUuid &created) const
{
    const OpRow &op = m_row.op;
    QMap<QString, QString> words = wordsFor(arguments);
    QMap<QString, QString> made;
    QUuid id = QUuid::fromString(arguments.value(u"itemId"_s).toString());
    if (!op.createdOutput.isEmpty()) {
        id = created;
        made.insert(op.createdOutput, id.toString(QUuid::WithoutBraces));
        words.insert(made);
    }
    if (const QString called = nameOf(access, id); !called.isEmpty())
        words.insert(u"name"_s, called);
    const QString note = op.note ? op.note(access, arguments, id) : QString();
    return ZirnTaskResult::succeeded(filled(op.success, words) + note, made);
}

// ------------------------------------------------------------------ tasks that are functions

namespace {

class QueryTask : public CorvaneQueryTask
{
public:
    explicit QueryTask(const TaskRow &row)
        : CorvaneQueryTask(row.name, row.description.toString(), {}, {}, {})
        , m_row(row)
    {}

protected:
    ZirnTaskResult doQuery(const ZirnTaskParams &arguments,
                           const QSharedPointer<model::Corvane> &) override
    {
        return m_row.query(ZirnTaskParams(knownArguments(m_row, arguments)),
                           SceneAccess::current());
    }

private:
    const TaskRow &m_row;
};

class MutationTask : public CorvaneMutationTask
{
public:
    explicit MutationTask(const TaskRow &row)
        : CorvaneMutationTask(row.name, row.description.toString(), {}, {}, {})
        , m_row(row)
    {}

protected:
    ZirnTaskResult doMutate(const ZirnTaskParams &arguments, ZirnTaskContext &,
                            ops::CorvaneOpExecutor *executor,
                            const QSharedPointer<model::Corvane> &scene,
                            model::LogicalScene *tree) override
    {
        const auto result = onMainThread([&] {
            const SceneAccess access{scene, tree, executor};
            return access.isCurrent() ? m_row.mutate(arguments, access) : sceneIsGone(m_row.name);
        });
        return result.value_or(sceneIsGone(m_row.name));
    }

private:
    const TaskRow &m_row;
};

class PlainTask : public ZirnTask
{
public:
    explicit PlainTask(const TaskRow &row)
        : ZirnTask(row.name, row.description.toString(), {}, {}, {})
        , m_row(row)
    {}
    ZirnTaskResult execute(const ZirnTaskParams &arguments, ZirnTaskContext *context) override
    {
        return m_row.plain(arguments, *context);
    }

private:
    const TaskRow &m_row;
};

} // namespace

ZirnTaskPtr makeTask(const TaskRow &row)
{
    if (row.make)
        return row.make(row);
    if (row.query)
        return QSharedPointer<QueryTask>::create(row);
    if (row.mutate)
        return QSharedPointer<MutationTask>::create(row);
    if (row.plain)
        return QSharedPointer<PlainTask>::create(row);
    return QSharedPointer<OpTask>::create(row);
}

} // namespace corvane::zirn
