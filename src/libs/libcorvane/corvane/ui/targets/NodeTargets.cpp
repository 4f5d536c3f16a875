#include <corvane/ui/targets/NodeTargets.h>

#include <corvane/model/NodeCompilation.h>
#include <corvane/model/NodeModifiers.h>
#include <corvane/model/ParameterValue.h>
#include <corvane/model/TransformPart.h>
#include <corvane/yaml/PlainValue.h>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

using model::LogicalInstance;
using model::ParameterValue;
using ops::CorvaneOp;
namespace OpKind = ops::OpKind;
using Part = TransformTarget::Part;

/// A part of a transform: its wrapper, and its field.
struct PartRow
{
    QLatin1StringView wrapper;
    const char *label;
    QLatin1StringView unit;
    QVector3D LogicalInstance::*field;
};
constexpr PartRow partRows[] = {
    // along Part
    {"translate"_L1, QT_TRANSLATE_NOOP("corvane::ui::TransformTarget", "Move"), "mm"_L1,
     &LogicalInstance::translate},
    {"rotate"_L1, QT_TRANSLATE_NOOP("corvane::ui::TransformTarget", "Turn"), "deg"_L1,
     &LogicalInstance::rotate},
    {"scale"_L1, QT_TRANSLATE_NOOP("corvane::ui::TransformTarget", "Scale"), ""_L1,
     &LogicalInstance::scale},
};

const PartRow &rowOf(Part part)
{
    return partRows[int(part)];
}

QVariant numbers(const QVector3D &vector)
{
    return QVariantList{double(vector.x()), double(vector.y()), double(vector.z())};
}

/// Numbers are alike however they are stored, vectors and lists of numbers too.
bool isSame(const QVariant &a, const QVariant &b)
{
    bool isNumber = false;
    bool isOther = false;
    const double first = a.toDouble(&isNumber);
    const double second = b.toDouble(&isOther);
    if (isNumber && isOther)
        return float(first) == float(second);
    return yaml::plainValue(a) == yaml::plainValue(b);
}

/// "=text" for an expression, the value itself for a literal: as ops take it.
QVariant opValue(const QVariant &stored)
{
    const auto value = ParameterValue::fromVariant(stored);
    return value.isExpression() ? QVariant(u'=' + value.expression) : value.value();
}

} // namespace

// NodeTarget

NodeTarget::NodeTarget(lifecycle::SceneSession *session, const QList<QUuid> &nodes, QObject *parent)
    : OpTarget(session, parent)
    , m_nodes(nodes)
{
    using model::LogicalScene;
    LogicalScene *const tree = session->tree();
    for (const auto signal :
         {&LogicalScene::instanceParameterChanged, &LogicalScene::instanceTransformChanged,
          &LogicalScene::instanceTagsChanged})
        connect(tree, signal, this, &NodeTarget::changedOf);
    connect(tree, &LogicalScene::instanceNameChanged, this, &NodeTarget::changedOf);
    connect(tree, &LogicalScene::wrapperParameterChanged, this, &NodeTarget::changedOf);
    connect(tree, &LogicalScene::structureChanged, this, &NodeTarget::changed);
    followValues();
}

void NodeTarget::changedOf(const QUuid &node)
{
    if (m_nodes.contains(node))
        emit changed();
}

const LogicalInstance *NodeTarget::instance(const QUuid &node) const
{
    return session() ? std::as_const(*session()->tree()).instance(node) : nullptr;
}

model::CompiledInstanceMapping NodeTarget::mappingOf(const QUuid &node) const
{
    return session() ? session()->compiler()->mappings().value(node)
                     : model::CompiledInstanceMapping();
}

QVariant NodeTarget::evaluated(const QUuid &itemId, const QString &param,
                               const QVariant &stored) const
{
    const auto own = ParameterValue::fromVariant(stored);
    if (!own.isExpression() || itemId.isNull())
        return own.value();
    const QVariant found = session()->document()->instance(itemId).parameter(param);
    return found.isValid() ? found : own.value();
}

FieldState NodeTarget::state() const
{
    std::optional<FieldState> all;
    for (const QUuid &id : m_nodes) {
        const LogicalInstance *const node = instance(id);
        if (!node)
            continue;
        const FieldState one = stateOf(*node);
        if (!all) {
            all = one;
            continue;
        }
        all->isMixed =
            all->isMixed || !isSame(all->value, one.value) || all->expression != one.expression;
        all->isChanged = all->isChanged || one.isChanged;
    }
    return all.value_or(FieldState{.isReadOnly = true});
}

bool NodeTarget::write(const QVariant &stored)
{
    QList<CorvaneOp> ops;
    for (const QUuid &node : m_nodes)
        ops.append(writeOp(node, stored));
    return apply(ops, label());
}

// ParameterTarget

ParameterTarget::ParameterTarget(lifecycle::SceneSession *session, const QList<QUuid> &nodes,
                                 const registry::ParameterDef &parameter, const QString &wrapperId,
                                 QObject *parent)
    : NodeTarget(session, nodes, parent)
    , m_parameter(parameter)
    , m_wrapperId(wrapperId)
{}

bool ParameterTarget::canBeBound() const
{
    return m_parameter.type != registry::SDFParameterType::String;
}

FieldState ParameterTarget::stateOf(const LogicalInstance &node) const
{
    const model::WrapperValues *const wrapper =
        m_wrapperId.isEmpty() ? nullptr : node.wrapper(m_wrapperId);
    const QVariantMap values = wrapper                 ? wrapper->values
                               : m_wrapperId.isEmpty() ? node.params
                                                       : QVariantMap();
    const auto mapping = mappingOf(node.id);
    const QUuid item =
        m_wrapperId.isEmpty() ? mapping.coreId : mapping.wrapperIds.value(m_wrapperId);
    const auto stored = values.constFind(m_parameter.name);
    if (stored == values.constEnd())
        return {.value = m_parameter.defaultValue};
    const auto value = ParameterValue::fromVariant(*stored);
    FieldState state{.value = evaluated(item, m_parameter.name, *stored),
                     .expression = value.isExpression() ? value.expression : QString()};
    state.isChanged = value.isExpression() || !isSame(state.value, m_parameter.defaultValue);
    if (value.isExpression())
        state.failure = failureOf(item, m_parameter.name);
    return state;
}

CorvaneOp ParameterTarget::writeOp(const QUuid &node, const QVariant &stored) const
{
    QVariantMap args{{u"itemId"_s, node}, {u"paramName"_s, m_parameter.name}, {u"value"_s, stored}};
    if (!m_wrapperId.isEmpty())
        args.insert(u"wrapperId"_s, m_wrapperId);
    return {OpKind::SdfSetParameter, args};
}

bool ParameterTarget::reset()
{
    return m_parameter.defaultValue.isValid() && write(m_parameter.defaultValue);
}

QString ParameterTarget::label() const
{
    return tr("Set %1").arg(m_parameter.name);
}

QVariantMap ParameterTarget::variableEntry() const
{
    model::VarsetConstraints constraints;
    if (!m_parameter.drag || m_parameter.drag->bounded) {
        constraints.min = m_parameter.minValue;
        constraints.max = m_parameter.maxValue;
    }
    constraints.step = m_parameter.stepValue;
    QVariantMap entry{{u"unit"_s, m_parameter.unit}, {u"description"_s, m_parameter.description}};
    if (!constraints.isEmpty())
        entry.insert(u"constraints"_s, constraints.toVariantMap());
    return entry;
}

// TransformTarget

TransformTarget::TransformTarget(lifecycle::SceneSession *session, const QList<QUuid> &nodes,
                                 Part part, QObject *parent)
    : NodeTarget(session, nodes, parent)
    , m_part(part)
{}

FieldState TransformTarget::stateOf(const LogicalInstance &node) const
{
    const PartRow &row = rowOf(m_part);
    const QVector3D vector = node.*row.field;
    const bool isScale = m_part == Part::Scale;
    FieldState state{.value = isScale ? QVariant(double(vector.x())) : numbers(vector),
                     .expression = model::NodeCompilation::connectedExpression(node, row.wrapper),
                     .isChanged = vector != LogicalInstance{QUuid()}.*row.field};
    if (!state.isBound())
        return state;
    const QString param = model::connectedParameter(row.wrapper);
    const QUuid item = mappingOf(node.id).wrapperIds.value(row.wrapper);
    const auto expression = ParameterValue::fromExpression(state.expression, state.value);
    state.value = evaluated(item, param, QVariant::fromValue(expression));
    state.failure = failureOf(item, param);
    state.isChanged = true;
    return state;
}

CorvaneOp TransformTarget::writeOp(const QUuid &node, const QVariant &stored) const
{
    return {OpKind::ItemSetTransform,
            {{u"itemId"_s, node}, {rowOf(m_part).wrapper, opValue(stored)}}};
}

bool TransformTarget::reset()
{
    return write(m_part == Part::Scale ? QVariant(1.0) : numbers({}));
}

QString TransformTarget::label() const
{
    return tr(rowOf(m_part).label);
}

QVariantMap TransformTarget::variableEntry() const
{
    const QString unit = rowOf(m_part).unit;
    return unit.isEmpty() ? QVariantMap() : QVariantMap{{u"unit"_s, unit}};
}

// NameTarget

FieldState NameTarget::stateOf(const LogicalInstance &node) const
{
    return {.value = node.name, .isReadOnly = nodes().size() != 1};
}

CorvaneOp NameTarget::writeOp(const QUuid &node, const QVariant &stored) const
{
    return {OpKind::ItemRename, {{u"itemId"_s, node}, {u"newName"_s, stored}}};
}

QString NameTarget::label() const
{
    return tr("Rename");
}

// ModifierTarget

namespace {

const model::NodeModifier &modifierOf(const QString &name)
{
    const model::NodeModifier *modifier = model::findNodeModifier(name);
    Q_ASSERT(modifier);
    return *modifier;
}

} // namespace

ModifierTarget::ModifierTarget(lifecycle::SceneSession *session, const QList<QUuid> &nodes,
                               const QString &modifier, QObject *parent)
    : NodeTarget(session, nodes, parent)
    , m_modifier(modifier)
{}

FieldState ModifierTarget::stateOf(const LogicalInstance &node) const
{
    const model::NodeModifier &modifier = modifierOf(m_modifier);
    return {.value = modifier.value(node.modifiers).toDouble(),
            .isChanged = !modifier.isSame(node.modifiers, {})};
}

CorvaneOp ModifierTarget::writeOp(const QUuid &node, const QVariant &stored) const
{
    return {OpKind::SdfSetModifier,
            {{u"itemId"_s, node}, {u"modifier"_s, m_modifier}, {u"value"_s, stored.toDouble()}}};
}

bool ModifierTarget::reset()
{
    return write(modifierOf(m_modifier).value({}).toDouble());
}

QString ModifierTarget::label() const
{
    return tr("Set %1").arg(m_modifier);
}

// MaterialTarget

MaterialTarget::MaterialTarget(lifecycle::SceneSession *session, const QList<QUuid> &nodes,
                               const QString &property, QObject *parent)
    : NodeTarget(session, nodes, parent)
    , m_property(property)
{}

FieldState MaterialTarget::stateOf(const LogicalInstance &node) const
{
    // What is drawn: the catalogue's where the node names one of it.
    const auto item = session()->document()->item(mappingOf(node.id).coreId);
    const bool isCatalogue = !node.materialId.isNull();
    const model::Material &material = isCatalogue ? item.material : node.material;
    const QVariant value = material.toVariantMap().value(m_property);
    return {.value = value,
            .isChanged = !isSame(value, model::Material().toVariantMap().value(m_property)),
            .isReadOnly = isCatalogue};
}

CorvaneOp MaterialTarget::writeOp(const QUuid &node, const QVariant &stored) const
{
    return {OpKind::ItemSetMaterial, {{u"itemId"_s, node}, {m_property, stored}}};
}

bool MaterialTarget::reset()
{
    return write(model::Material().toVariantMap().value(m_property));
}

QString MaterialTarget::label() const
{
    return tr("Set Material");
}

// MaterialChoiceTarget

FieldState MaterialChoiceTarget::stateOf(const LogicalInstance &node) const
{
    return {.value = node.materialId.isNull() ? QString() : node.materialId.toString()};
}

CorvaneOp MaterialChoiceTarget::writeOp(const QUuid &node, const QVariant &stored) const
{
    const QString id = stored.toString();
    QVariantMap args{{u"itemId"_s, node}};
    if (id.isEmpty()) // a material of its own, that looks the same
        args.insert(u"material"_s,
                    session()->document()->item(mappingOf(node).coreId).material.toVariantMap());
    args.insert(u"materialId"_s, id.isEmpty() ? QUuid() : QUuid(id));
    return {OpKind::ItemSetMaterial, args};
}

QString MaterialChoiceTarget::label() const
{
    return tr("Set Material");
}

} // namespace corvane::ui
