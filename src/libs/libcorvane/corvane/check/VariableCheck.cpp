#include <corvane/check/VariableCheck.h>

#include <corvane/check/KeyTables.h>
#include <corvane/check/ValueCheck.h>
#include <corvane/expr/ExprType.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/NearestName.h>
#include <corvane/model/PlainValue.h>

using namespace Qt::StringLiterals;

namespace corvane::check {

namespace {

using expr::ExprType;

const QStringList &typeWords()
{
    static const QStringList words{u"number"_s, u"boolean"_s, u"string"_s, u"vector"_s, u"float"_s,
                                   u"int"_s,    u"bool"_s,    u"vec2"_s,   u"vec3"_s,   u"vec4"_s};
    return words;
}

bool isVector(const QVariant &value)
{
    const QVariantList list = model::plainForFile(value).toList();
    return list.size() >= 2 && list.size() <= 4 &&
           std::all_of(list.cbegin(), list.cend(), isNumber);
}

/// What a value of a variable of that type is, when this one is not that.
QString wantedOf(const QString &type, const QVariant &value)
{
    if (type == "vector"_L1)
        return isVector(value) ? QString() : u"a list of 2 to 4 numbers"_s;
    switch (expr::exprTypeFromName(type)) {
    case ExprType::Float:
    case ExprType::Int:
        return isNumber(value) && value.typeId() != QMetaType::QString ? QString() : u"a number"_s;
    case ExprType::Bool:
        return value.typeId() == QMetaType::Bool ? QString() : u"true or false"_s;
    case ExprType::Vec2:
    case ExprType::Vec3:
    case ExprType::Vec4:
        return isVector(value) ? QString() : u"a list of numbers"_s;
    case ExprType::String:
        return value.typeId() == QMetaType::QString ? QString() : u"a text"_s;
    case ExprType::Unknown:
        break;
    }
    return {};
}

std::optional<Flaw> constraintFlaw(const model::VarsetConstraints &constraints,
                                   const QVariant &value)
{
    const auto flaw = [&value](const QString &how, const QVariant &limit, const QString &remedy) {
        return Flaw{how.arg(shownValue(value), shownValue(limit)), remedy.arg(shownValue(limit))};
    };
    const bool hasMin = isNumber(constraints.min);
    const bool hasMax = isNumber(constraints.max);
    if (isNumber(value) && hasMin && value.toDouble() < constraints.min.toDouble())
        return flaw(u"%1 is below the least value, %2"_s, constraints.min, u"Give %1 or more"_s);
    if (isNumber(value) && hasMax && value.toDouble() > constraints.max.toDouble())
        return flaw(u"%1 is above the greatest value, %2"_s, constraints.max, u"Give %1 or less"_s);
    const QStringList &allowed = constraints.enumValues;
    if (allowed.isEmpty() || allowed.contains(value.toString()))
        return std::nullopt;
    return Flaw{u"%1 is none of its values"_s.arg(shownValue(value)),
                model::didYouMean(value.toString(), allowed,
                                  u"Give one of "_s + shown(allowed.join(u", "_s)))};
}

class VariableCheck
{
public:
    VariableCheck(const QVariant &stored, const KeyPath &path, const SceneSource &source,
                  Findings &findings)
        : m_stored(stored)
        , m_path(path)
        , m_source(source)
        , m_findings(findings)
    {}

    void check()
    {
        const QVariantMap map = m_stored.toMap();
        if (m_stored.typeId() != QMetaType::QVariantMap)
            return checkBareValue();
        checkKeys(map, m_path, keys::of(keys::Variable), m_findings);
        if (!map.contains(u"value"_s) && !map.contains(u"expression"_s))
            return add({}, u"it has neither a value nor an expression"_s, u"Give it a \"value\""_s);
        checkConstraintKeys(map.value(u"constraints"_s));
        checkUnit(map.value(u"unit"_s).toString());
        checkType(map);
    }

private:
    void add(const QString &key, const QString &what, const QString &remedy)
    {
        m_findings.add(key.isEmpty() ? m_path : m_path + KeyPath{key}, what, remedy);
    }

    void checkBareValue()
    {
        if (!m_stored.isValid())
            return add({}, u"it has no value"_s, u"Write a value behind the colon"_s);
        const QString text =
            m_stored.typeId() == QMetaType::QString ? m_stored.toString() : QString();
        const QString remedy = text.isEmpty() ? QString() : numberRemedy(text, m_source.variables);
        if (text.startsWith(u'=') || text.startsWith(u'$'))
            add({}, u"%1 is a text here, and no expression"_s.arg(shownValue(m_stored)),
                u"Write {expression: \"%1\"}"_s.arg(shown(text.mid(1))));
        else if (remedy.startsWith("Write it with"_L1) || remedy.startsWith("Write the number"_L1))
            add({}, u"%1 is a text, and not a number"_s.arg(shownValue(m_stored)), remedy);
    }

    void checkConstraintKeys(const QVariant &constraints)
    {
        const KeyPath path = m_path + KeyPath{u"constraints"_s};
        checkKeys(constraints.toMap(), path, keys::of(keys::Constraints), m_findings);
        for (const QString &key : {u"min"_s, u"max"_s, u"step"_s}) {
            const QVariant limit = constraints.toMap().value(key);
            if (limit.isValid() && !isNumber(limit))
                m_findings.add(path + KeyPath{key}, u"%1 is not a number"_s.arg(shownValue(limit)),
                               u"Write a number"_s);
        }
        const QVariant min = constraints.toMap().value(u"min"_s);
        const QVariant max = constraints.toMap().value(u"max"_s);
        if (isNumber(min) && isNumber(max) && min.toDouble() > max.toDouble())
            m_findings.add(path,
                           u"the least value, %1, is above the greatest, %2"_s.arg(shownValue(min),
                                                                                   shownValue(max)),
                           u"Exchange the two, or correct one"_s);
    }

    /// All lengths of a scene are in its own unit, whatever a variable says of itself.
    void checkUnit(const QString &unit)
    {
        const QVariant stated = m_source.block.value(u"units"_s);
        const QString own = stated.isValid() ? stated.toString() : u"mm"_s;
        const QStringList &known = keys::unitWords();
        if (unit != own && known.contains(unit) && known.contains(own))
            add(u"unit"_s,
                u"%1 is not the unit of the scene, %2, and values are not converted"_s.arg(
                    shown(unit), shown(own)),
                u"Give the value in %1"_s.arg(shown(own)));
    }

    void checkType(const QVariantMap &map)
    {
        const auto entry = model::VarsetEntry::fromVariant(m_stored);
        if (!entry.type.isEmpty() && !typeWords().contains(entry.type))
            add(u"type"_s, u"%1 is no type of a variable"_s.arg(shownValue(QVariant(entry.type))),
                m_findings.didYouMean(entry.type, typeWords(),
                                      u"Write number, boolean, string or vector"_s));
        if (!entry.expression.isEmpty())
            return;
        if (!entry.value.isValid())
            return add(u"value"_s, u"it has no value"_s, u"Write a value behind the colon"_s);
        if (const QString wanted = wantedOf(entry.type, entry.value); !wanted.isEmpty())
            return add(u"value"_s, u"%1 is not %2"_s.arg(shownValue(entry.value), wanted),
                       entry.value.typeId() == QMetaType::QString && wanted == "a number"_L1
                           ? numberRemedy(entry.value.toString(), m_source.variables)
                           : u"Write %1"_s.arg(wanted));
        if (const auto flaw = constraintFlaw(entry.constraints, entry.value))
            add(map.contains(u"value"_s) ? u"value"_s : QString(), flaw->what, flaw->remedy);
    }

    const QVariant m_stored;
    const KeyPath m_path;
    const SceneSource &m_source;
    Findings &m_findings;
};

void checkVarset(const QVariant &stored, const KeyPath &path, const SceneSource &source,
                 Findings &findings)
{
    if (stored.isValid() && stored.typeId() != QMetaType::QVariantMap)
        return findings.add(path, u"%1 is no map of variables"_s.arg(shownValue(stored)),
                            u"Write each as \"name: value\" below it, indented"_s);
    const QVariantMap map = stored.toMap();
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        VariableCheck(*it, path + KeyPath{it.key()}, source, findings).check();
}

/// What is wrong with one value of --params.
std::optional<Flaw> overrideFlaw(const SceneSource &source, const model::Corvane &scene,
                                 const QString &name, const QVariant &value)
{
    if (!scene.hasVariable(name) && source.version >= 2)
        return Flaw{u"the variables of a version 2 file are not read, so this value does nothing"_s,
                    u"Save the scene as version 1 with \"corvane zirn\""_s};
    if (!scene.hasVariable(name)) {
        const QStringList known = variableNames(source.block);
        const QString otherwise = known.isEmpty() ? u"The scene has no variables"_s
                                                  : u"\"corvane schema\" lists the variables"_s;
        return Flaw{u"the scene has no variable of this name"_s,
                    model::didYouMean(name, known, otherwise)};
    }
    const model::VarsetEntry entry = scene.variableEntry(name);
    if (!entry.expression.isEmpty())
        return Flaw{u"the variable is derived by %1, so this value does nothing"_s.arg(
                        shownValue(QVariant(u'=' + entry.expression))),
                    u"Give the variables that it reads"_s};
    const bool isListed = model::plainForFile(entry.value).typeId() == QMetaType::QVariantList;
    const QString type = entry.type.isEmpty() && isListed ? u"vector"_s : entry.effectiveType();
    if (const QString wanted = wantedOf(type, value); !wanted.isEmpty())
        return Flaw{u"%1 is not %2"_s.arg(shownValue(value), wanted), u"Give %1"_s.arg(wanted)};
    return constraintFlaw(entry.constraints, value);
}

} // namespace

void checkVariables(const SceneSource &source, Findings &findings)
{
    checkVarset(source.block.value(u"varset"_s), source.at(u"varset"_s), source, findings);
    const QVariantMap varsets = source.block.value(u"varsets"_s).toMap();
    for (auto it = varsets.cbegin(); it != varsets.cend(); ++it)
        checkVarset(*it, source.at(u"varsets"_s) + KeyPath{it.key()}, source, findings);
}

void checkOverrides(const SceneSource &source, const model::Corvane &scene,
                    const QVariantMap &values, Findings &findings)
{
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        if (const auto flaw = overrideFlaw(source, scene, it.key(), *it))
            findings.addNamed(u"--params, "_s + shown(it.key()), {}, flaw->what, flaw->remedy);
    }
}

QStringList variableNames(const QVariantMap &block)
{
    QStringList names = block.value(u"varset"_s).toMap().keys();
    const QVariantMap varsets = block.value(u"varsets"_s).toMap();
    for (auto it = varsets.cbegin(); it != varsets.cend(); ++it) {
        const QStringList entries = it->toMap().keys();
        for (const QString &entry : entries)
            names.append(it.key() + u'.' + entry);
    }
    return names;
}

} // namespace corvane::check
