#include <corvane/tasks/OpTask.h>

#include <corvane/component/ComponentRegistry.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/ops/CorvaneOpDescriber.h>
#include <corvane/ops/CorvaneOpExecutor.h>
#include <corvane/ops/OpCatalogue.h>
#include <corvane/registry/Registry.h>
#include <corvane/tasks/Arguments.h>
#include <corvane/tasks/MainThread.h>
#include <corvane/tasks/TaskJson.h>
#include <corvane/zirn/FailureText.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

const QString checkParameters = u"check parameters and try again"_s;

QString notFound(const QString &attempt, const QString &cause, QStringView key,
                 QLatin1StringView listTask)
{
    return failureText({.attempt = attempt,
                        .cause = cause,
                        .suggestion = u"check %1 or run %2"_s.arg(key, listTask)});
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

/// Lists show the default varset under a name, which plans then give.
void nameDefaultVarset(const SceneAccess &access, QVariantMap &arguments, const QString &key)
{
    const QString name = arguments.value(key).toString();
    if (name == ops::CorvaneOpDescriber::varsetLabel({}) &&
        !access.document->namedVarsets().contains(name))
        arguments.insert(key, QString());
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
    words.insert(u"newDefinitionId"_s, definition.value(u"id"_s).toString());
    return words;
}

} // namespace

OpTask::OpTask(const TaskRow &row)
    : CorvaneMutationTask(row.name, row.description.toString(), {}, {}, {})
    , m_row(row)
{}

ZirnTaskResult OpTask::doMutate(const ZirnTaskParams &arguments, ops::CorvaneOpExecutor *executor,
                                QSharedPointer<model::Corvane> scene,
                                model::LogicalScene *logicalScene)
{
    const QString attempt = m_row.op.attempt;
    const QString unknown = unknownArgument(attempt, m_row.arguments(), arguments);
    if (!unknown.isEmpty())
        return ZirnTaskResult::failed(unknown);
    QVariantMap known = knownArguments(m_row.arguments(), arguments);
    if (m_row.op.complete)
        m_row.op.complete(known);
    const QString flaw = argumentFlaw(attempt, m_row.arguments(), known);
    if (!flaw.isEmpty())
        return ZirnTaskResult::failed(flaw);
    const auto result = onMainThread([&] {
        const SceneAccess access{scene, logicalScene, executor};
        return access.isCurrent() ? applyTo(access, known) : sceneIsGone(attempt);
    });
    return result.value_or(sceneIsGone(attempt));
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
            return failed(m_row.op.attempt, cause, checkParameters);
        opArguments = *prepared;
    }
    // What the op would only tell the log.
    const QString flaw = ops::checkArguments(*ops::findOp(m_row.op.kind), opArguments);
    if (!flaw.isEmpty())
        return failed(m_row.op.attempt, flaw, checkParameters);
    const auto created = applyOps(access, opArguments);
    if (!created)
        return failed(m_row.op.attempt, u"executor rejected the operation"_s, checkParameters);
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
    const QString batch =
        executor.beginBatch(ops::CorvaneOpDescriber::describe({op.kind, arguments}));
    const auto created = apply();
    const bool isDone = created && executor.apply(*op.followUp(arguments, *created));
    executor.endBatch();
    if (isDone)
        return created;
    if (created)
        executor.undoBatch(batch);
    return std::nullopt;
}

/// Also puts the names in their place under which the scene has what is meant.
QString OpTask::whatIsMissing(const SceneAccess &access, QVariantMap &arguments) const
{
    for (const ParamRow &param : m_row.arguments()) {
        if (param.kind == ArgumentKind::VarsetName)
            nameDefaultVarset(access, arguments, param.name);
    }
    const QString missing = missingTarget(access, arguments);
    if (!missing.isEmpty())
        return missing;
    for (const ParamRow &param : m_row.arguments()) {
        const QString wanted = arguments.value(param.name).toString();
        if (wanted.isEmpty() || param.name == m_row.op.targetKey)
            continue;
        const QString failure = missingReference(access, param, wanted);
        if (!failure.isEmpty())
            return failure;
        if (param.kind == ArgumentKind::ParentId)
            arguments.insert(param.name, access.resolve(wanted).toString(QUuid::WithoutBraces));
    }
    return {};
}

/// The failure when the scene has nothing that an argument beside the target names.
QString OpTask::missingReference(const SceneAccess &access, const ParamRow &param,
                                 const QString &wanted) const
{
    const QString attempt = m_row.op.attempt;
    const QString key = param.name;
    if (param.kind == ArgumentKind::DefinitionId && !isDefinition(access, wanted))
        return notFound(attempt, u"definition '%1' not found"_s.arg(wanted), key,
                        "corvane.scene.list_definitions"_L1);
    if (param.kind == ArgumentKind::ParentId && access.resolve(wanted).isNull())
        return notFound(attempt, u"parent %1 not found"_s.arg(wanted), key,
                        listTask(TargetKind::Item));
    if (param.kind == ArgumentKind::VarsetName && !access.document->namedVarsets().contains(wanted))
        return notFound(attempt, u"varset '%1' not found"_s.arg(wanted), key,
                        listTask(TargetKind::Varset));
    return {};
}

QString OpTask::missingTarget(const SceneAccess &access, QVariantMap &arguments) const
{
    const OpRow &op = m_row.op;
    const QString key = op.targetKey;
    const QString wanted = arguments.value(key).toString();
    if (exists(access, op.target, arguments, wanted)) {
        if (op.target == TargetKind::Item)
            arguments.insert(key, access.resolve(wanted).toString(QUuid::WithoutBraces));
        return {};
    }
    if (wanted.isEmpty())
        return notFound(op.attempt, key + u" is required"_s, key, listTask(op.target));
    const QString cause =
        op.target == TargetKind::OwnMaterial ? u"not found or built-in"_s : u"not found"_s;
    return notFound(ops::fillText(op.attemptOn, {wanted}), cause, key, listTask(op.target));
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

} // namespace corvane::zirn
