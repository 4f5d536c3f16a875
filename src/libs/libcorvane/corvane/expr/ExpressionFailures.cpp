#include <corvane/expr/ExpressionFailures.h>

#include <corvane/expr/ExprModel.h>
#include <corvane/model/Corvane.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::expr {

namespace {

/// Makes the records of one model.
class FailureList
{
public:
    FailureList(const ExprModel &model, const model::Corvane *scene)
        : m_model(model)
        , m_scene(scene)
    {}

    void addErrors(const QMap<QString, QString> &errors);
    void addCycles();

    const QList<ExpressionFailure> &records() const { return m_records; }

private:
    ExpressionFailure failureOf(const QString &node, const QString &message) const;
    QStringList cycleFrom(const QString &first, const QStringList &unordered,
                          QSet<QString> &followed) const;
    QString nextOf(const QString &node, const QStringList &unordered) const;

    const ExprModel &m_model;
    const model::Corvane *m_scene;
    QList<ExpressionFailure> m_records;
};

ExpressionFailure FailureList::failureOf(const QString &node, const QString &message) const
{
    ExpressionFailure failure{.name = node, .message = message};
    splitParameterNode(node, failure.instanceId, failure.name);
    const ExprGraph::Node *known = m_model.graph.node(node);
    failure.expression = known ? known->compiled.source : QString();
    failure.value = m_scene ? storedValue(*m_scene, node) : QVariant();
    return failure;
}

void FailureList::addErrors(const QMap<QString, QString> &errors)
{
    for (auto it = errors.cbegin(); it != errors.cend(); ++it) {
        if (!it.key().isEmpty())
            m_records.append(failureOf(it.key(), *it));
    }
}

/// The first unordered node that a node reads.
QString FailureList::nextOf(const QString &node, const QStringList &unordered) const
{
    const QStringList reads = m_model.graph.node(node)->dependencies;
    for (const QString &name : reads) {
        const QString target = m_model.graph.targetOf(name);
        if (std::binary_search(unordered.cbegin(), unordered.cend(), target))
            return target;
    }
    return {};
}

/// Whoever follows what the unordered nodes read, among themselves, comes round in a circle: the
/// members of one that was not met before, or nothing.
QStringList FailureList::cycleFrom(const QString &first, const QStringList &unordered,
                                   QSet<QString> &followed) const
{
    QStringList path;
    QString node = first;
    while (!node.isEmpty() && !followed.contains(node)) {
        followed.insert(node);
        path.append(node);
        node = nextOf(node, unordered);
    }
    const qsizetype start = path.indexOf(node);
    return start < 0 ? QStringList() : path.mid(start);
}

void FailureList::addCycles()
{
    const QStringList unordered = m_model.graph.detectCycles();
    QSet<QString> followed;
    QSet<QString> inCycle;
    for (const QString &first : unordered) {
        const QStringList members = cycleFrom(first, unordered, followed);
        if (members.isEmpty())
            continue;
        ExpressionFailure failure = failureOf(members.first(), {});
        for (const QString &member : members) {
            failure.cycle.append(nodeLabel(m_scene, member));
            inCycle.insert(member);
        }
        m_records.append(failure);
    }
    for (const QString &node : unordered) {
        if (!inCycle.contains(node))
            m_records.append(failureOf(node, {}));
    }
}

} // namespace

void ExpressionFailures::clear()
{
    m_errors.clear();
    m_unstored.clear();
}

void ExpressionFailures::removeErrorsBeside(const ExprModel &model)
{
    m_errors.removeIf([&model](QMap<QString, QString>::iterator it) {
        const ExprGraph::Node *node = model.graph.node(it.key());
        return !node || !node->isExpression;
    });
}

void ExpressionFailures::setUnstored(const QString &variable, bool isUnstored)
{
    if (isUnstored)
        m_unstored.insert(variable);
    else
        m_unstored.remove(variable);
}

QStringList ExpressionFailures::texts(const ExprModel &model, const model::Corvane *scene) const
{
    QStringList all;
    for (const auto *errors : {&model.errors, &m_errors}) {
        for (auto it = errors->cbegin(); it != errors->cend(); ++it)
            all.append(it.key().isEmpty() ? *it : nodeLabel(scene, it.key()) + u": "_s + *it);
    }
    return all;
}

QList<ExpressionFailure> ExpressionFailures::records(const ExprModel &model,
                                                     const model::Corvane *scene) const
{
    FailureList list(model, scene);
    list.addErrors(model.errors);
    list.addErrors(m_errors);
    list.addCycles();
    return list.records();
}

QStringList ExpressionFailures::nodes(const ExprModel &model) const
{
    QStringList failed = model.errors.keys() + m_errors.keys() + m_unstored.values();
    if (failed.removeAll(QString()) > 0)
        failed += model.graph.detectCycles();
    failed.sort();
    failed.removeDuplicates();
    return failed;
}

QVariant storedValue(const model::Corvane &scene, const QString &node)
{
    QUuid id;
    QString param;
    if (scene.hasVariable(node))
        return scene.variableEntry(node).value;
    if (!splitParameterNode(node, id, param) || !scene.hasItem(id))
        return {};
    return scene.instance(id).parameterValue(param).fallback;
}

} // namespace corvane::expr
