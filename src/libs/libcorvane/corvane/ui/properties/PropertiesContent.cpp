#include <corvane/ui/properties/PropertiesContent.h>

#include <corvane/model/TransformPart.h>
#include <corvane/registry/Registry.h>

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

using registry::ParameterDef;
using Section = PropertiesContent::Section;
using Wrapper = PropertiesContent::Wrapper;

QString say(const char *text)
{
    return QCoreApplication::translate("corvane::ui::PropertiesContent", text);
}

registry::DefinitionPtr definitionOf(const QString &id)
{
    return registry::Registry::instance().getDefinition(id);
}

QList<ParameterDef> editable(const QList<ParameterDef> &parameters)
{
    QList<ParameterDef> kept = parameters;
    kept.removeIf([](const ParameterDef &parameter) { return parameter.isChildParameter(); });
    return kept;
}

/// What a component shows of its inside, as parameters.
QList<ParameterDef> interfaceOf(const component::ComponentDefinition &component)
{
    QList<ParameterDef> parameters;
    for (const component::ComponentPromotion &promotion : component.promotions) {
        ParameterDef parameter;
        const QVariantMap node = component.structureNode(promotion.targetNode);
        const auto definition = definitionOf(node.value(u"type"_s).toString());
        if (const ParameterDef *target =
                definition ? definition->parameter(promotion.targetParam) : nullptr)
            parameter = *target;
        parameter.name = promotion.alias;
        parameter.displayName =
            promotion.displayName.isEmpty() ? promotion.alias : promotion.displayName;
        const QVariant value = component.promotionDefault(promotion);
        if (value.isValid())
            parameter.defaultValue = value;
        parameters.append(parameter);
    }
    return parameters;
}

QList<ParameterDef> parametersOf(const model::LogicalScene &tree,
                                 const model::LogicalInstance &node)
{
    if (node.isComponentInstance())
        return interfaceOf(tree.componentRegistry()->definition(node.componentDefId));
    const auto definition = definitionOf(node.definitionId);
    return definition ? editable(definition->parameters) : QList<ParameterDef>();
}

/// Those of the first that all have, with the same type.
QList<ParameterDef> shared(const QList<QList<ParameterDef>> &all)
{
    QList<ParameterDef> kept = all.value(0);
    for (const QList<ParameterDef> &other : all.mid(1)) {
        kept.removeIf([&other](const ParameterDef &parameter) {
            return std::none_of(other.cbegin(), other.cend(), [&](const ParameterDef &theirs) {
                return theirs.name == parameter.name && theirs.type == parameter.type;
            });
        });
    }
    return kept;
}

/// In the order in which the sections first come; those without one stand first.
QList<Section> sectionsOf(const QList<ParameterDef> &parameters)
{
    QList<Section> sections;
    for (const ParameterDef &parameter : parameters) {
        const QString title =
            parameter.section.isEmpty()
                ? say(QT_TRANSLATE_NOOP("corvane::ui::PropertiesContent", "Parameters"))
                : parameter.section;
        auto it = std::find_if(sections.begin(), sections.end(),
                               [&title](const Section &known) { return known.title == title; });
        if (it == sections.end())
            it = sections.insert(sections.end(), {title, {}});
        it->parameters.append(parameter);
    }
    return sections;
}

bool isTransform(const QString &wrapperId)
{
    return !model::connectedParameter(wrapperId).isEmpty();
}

QList<Wrapper> sharedWrappers(const QList<const model::LogicalInstance *> &nodes)
{
    QList<Wrapper> wrappers;
    for (const model::WrapperValues &values : nodes.first()->wrappers) {
        const bool isShared =
            std::all_of(nodes.cbegin(), nodes.cend(), [&values](const auto *node) {
                return node->wrapper(values.definitionId) != nullptr;
            });
        if (!isShared || isTransform(values.definitionId))
            continue;
        const auto definition = definitionOf(values.definitionId);
        wrappers.append({values.definitionId, definition ? definition->name : values.definitionId,
                         definition ? editable(definition->parameters) : QList<ParameterDef>()});
    }
    return wrappers;
}

bool canMove(const model::LogicalInstance &node)
{
    return std::any_of(node.wrappers.cbegin(), node.wrappers.cend(),
                       [](const auto &wrapper) { return isTransform(wrapper.definitionId); });
}

/// What a selection of nodes of one sort is called, with the help for it.
void describe(PropertiesContent &content, const model::LogicalScene &tree,
              const QList<const model::LogicalInstance *> &nodes)
{
    const model::LogicalInstance &first = *nodes.first();
    const bool isOneSort = std::all_of(nodes.cbegin(), nodes.cend(), [&first](const auto *node) {
        return node->definitionId == first.definitionId &&
               node->componentDefId == first.componentDefId;
    });
    content.title = nodes.size() == 1
                        ? first.name
                        : say(QT_TRANSLATE_NOOP("corvane::ui::PropertiesContent", "%1 items"))
                              .arg(nodes.size());
    if (!isOneSort)
        return;
    if (first.isComponentInstance()) {
        const auto component = tree.componentRegistry()->definition(first.componentDefId);
        content.kind = component.name;
        content.description = component.description;
    } else if (const auto definition = definitionOf(first.definitionId)) {
        content.kind = definition->name;
        content.description = definition->description;
        content.isOperator = definition->isOperator;
    } else {
        content.kind = first.isContainer()
                           ? say(QT_TRANSLATE_NOOP("corvane::ui::PropertiesContent", "Group"))
                           : first.definitionId;
    }
}

} // namespace

PropertiesContent PropertiesContent::of(const model::LogicalScene &tree, const QList<QUuid> &nodes)
{
    PropertiesContent content;
    QList<const model::LogicalInstance *> instances;
    QList<QList<ParameterDef>> parameters;
    for (const QUuid &id : nodes) {
        const model::LogicalInstance *const node = tree.instance(id);
        if (!node)
            continue;
        content.nodes.append(id);
        instances.append(node);
        parameters.append(parametersOf(tree, *node));
    }
    if (instances.isEmpty())
        return content;
    describe(content, tree, instances);
    content.sections = sectionsOf(shared(parameters));
    content.wrappers = sharedWrappers(instances);
    content.hasTransform = std::all_of(instances.cbegin(), instances.cend(),
                                       [](const auto *node) { return canMove(*node); });
    content.hasMaterial = std::none_of(instances.cbegin(), instances.cend(),
                                       [](const auto *node) { return node->isContainer(); });
    return content;
}

} // namespace corvane::ui
