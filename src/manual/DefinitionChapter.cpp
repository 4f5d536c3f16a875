#include "DefinitionChapter.h"

#include "RoffText.h"

#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;
using corvane::registry::Definition;
using corvane::registry::ParameterDef;
using corvane::registry::SDFParameterType;

namespace {

QString childCount(const Definition &definition)
{
    const int least = definition.minChildren();
    const int most = definition.maxChildren();
    if (most < 0)
        return u"%1 or more"_s.arg(least);
    return least == most ? QString::number(least) : u"%1 to %2"_s.arg(least).arg(most);
}

/// "decimal, mm, 0.001 to 100000, default 10".
QString parameterFacts(const ParameterDef &parameter)
{
    QStringList facts{corvane::registry::sdfParameterTypeToString(parameter.type)};
    if (!parameter.unit.isEmpty())
        facts.append(parameter.unit);
    if (parameter.minValue.isValid() && parameter.maxValue.isValid() &&
        parameter.type != SDFParameterType::Bool)
        facts.append(u"%1 to %2"_s.arg(roff::valueText(parameter.minValue),
                                       roff::valueText(parameter.maxValue)));
    if (parameter.defaultValue.isValid())
        facts.append(u"default "_s + roff::valueText(parameter.defaultValue));
    return facts.join(u", "_s);
}

QString parameterEntry(const Definition &definition, const ParameterDef &parameter)
{
    const QString facts =
        parameter.isChildParameter() ? childCount(definition) : parameterFacts(parameter);
    const QString &told =
        parameter.description.isEmpty() ? parameter.displayName : parameter.description;
    return u".TP\n\\fI%1\\fR (%2)\n%3"_s.arg(roff::text(parameter.name), roff::text(facts),
                                             roff::sentence(told));
}

QString definitionEntry(const Definition &definition)
{
    QString entry =
        u".TP\n.B %1\n%2"_s.arg(roff::text(definition.id), roff::sentence(definition.description));
    if (definition.parameters.isEmpty())
        return entry;
    entry += u".RS\n"_s;
    for (const ParameterDef &parameter : definition.parameters)
        entry += parameterEntry(definition, parameter);
    return entry + u".RE\n"_s;
}

} // namespace

QString definitionChapter(const corvane::registry::Registry &registry)
{
    QString chapter;
    QString category;
    const auto definitions = registry.getAllPrimitives();
    for (const auto &definition : definitions) {
        if (definition->category != category) {
            category = definition->category;
            chapter += u".SS %1\n"_s.arg(roff::argument(category));
        }
        chapter += definitionEntry(*definition);
    }
    return chapter;
}
