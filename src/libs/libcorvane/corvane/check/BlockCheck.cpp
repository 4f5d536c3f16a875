#include <corvane/check/BlockCheck.h>

#include <corvane/check/KeyTables.h>
#include <corvane/check/SettingsCheck.h>
#include <corvane/check/ValueCheck.h>
#include <corvane/model/NearestName.h>
#include <corvane/model/SceneMigrator.h>
#include <corvane/registry/Definition.h>

using namespace Qt::StringLiterals;

namespace corvane::check {

namespace {

constexpr int newestVersion = 2;

/// What the words of the block's other blocks are called when they stand at the wrong level.
QString remedyFor(const QString &key, const QStringList &known, const Findings &findings)
{
    if (known.contains(key))
        return u"Move it into the \"corvane\" block: indent it by 2 blanks"_s;
    const QString home = settingsHomeOf(key);
    return home.isEmpty() ? findings.didYouMean(key, known, u"Correct its name or remove it"_s)
                          : u"It belongs under \"%1\""_s.arg(home);
}

void checkTopLevel(const QVariantMap &file, const SceneSource &source, Findings &findings)
{
    const QVariant version = file.value(u"formatVersion"_s);
    if (version.isValid() && !isNumber(version))
        findings.add({u"formatVersion"_s},
                     u"%1 is no number, so 1 is used"_s.arg(shownValue(version)),
                     u"Write 1 or 2"_s);
    else if (model::SceneMigrator::detectVersion(file) > newestVersion)
        findings.add({u"formatVersion"_s},
                     u"%1 is newer than what this program knows, and is read as 2"_s.arg(
                         shownValue(version)),
                     u"Use a newer program, or write 2"_s);
    if (source.path.isEmpty())
        return;
    for (auto it = file.cbegin(); it != file.cend(); ++it) {
        if (it.key() != "formatVersion"_L1 && it.key() != "corvane"_L1)
            findings.add({it.key()}, u"beside the \"corvane\" block nothing reads this key"_s,
                         remedyFor(it.key(), keys::ofBlock(source.version), findings));
    }
}

void checkBlockKeys(const SceneSource &source, Findings &findings)
{
    const QStringList &known = keys::ofBlock(source.version);
    for (auto it = source.block.cbegin(); it != source.block.cend(); ++it) {
        if (it.key() == "formatVersion"_L1 && !source.path.isEmpty())
            findings.add(source.at(it.key()),
                         u"within the \"corvane\" block nothing reads this key"_s,
                         u"Write it in the first column, above \"corvane\""_s);
        if (known.contains(it.key()))
            continue;
        const QString home = settingsHomeOf(it.key());
        const QString remedy =
            keys::ofBlock(newestVersion).contains(it.key())
                ? u"Only a file of formatVersion 2 has it"_s
            : keys::ofBlock(1).contains(it.key())
                ? u"A file of formatVersion 2 has \"instances\" only"_s
            : home.isEmpty()
                ? findings.didYouMean(it.key(), known, u"Correct its name or remove it"_s)
                : u"It belongs under \"%1\""_s.arg(home);
        findings.add(source.at(it.key()), u"nothing reads this key"_s, remedy);
    }
    for (const QString &key : {u"instances"_s, u"items"_s, u"materials"_s, u"components"_s,
                               u"varsets"_s, u"metadata"_s}) {
        const QVariant value = source.block.value(key);
        const bool isNodeList =
            key == "instances"_L1 && source.version >= 2 && !value.toList().isEmpty();
        if (value.isValid() && value.typeId() != QMetaType::QVariantMap && !isNodeList)
            findings.add(source.at(key),
                         u"%1 is no map, so it is not read"_s.arg(shownValue(value)),
                         u"Write its entries below it, each as \"name:\", indented"_s);
    }
}

void checkUnits(const SceneSource &source, Findings &findings)
{
    const QVariant units = source.block.value(u"units"_s);
    const QStringList &known = keys::unitWords();
    if (units.isValid() && !known.contains(units.toString()))
        findings.add(source.at(u"units"_s),
                     u"%1 is no known unit of length"_s.arg(shownValue(units)),
                     model::didYouMean(units.toString(), known, u"Write mm, cm, m or in"_s));
}

void checkMaterials(const SceneSource &source, Findings &findings)
{
    const QVariantMap materials = source.block.value(u"materials"_s).toMap();
    for (auto it = materials.cbegin(); it != materials.cend(); ++it)
        checkKeys(it->toMap(), source.at(u"materials"_s) + KeyPath{it.key()},
                  keys::of(keys::CatalogMaterial), findings);
}

void checkComponents(const SceneSource &source, Findings &findings)
{
    const QVariantMap components = source.block.value(u"components"_s).toMap();
    for (auto it = components.cbegin(); it != components.cend(); ++it) {
        const KeyPath path = source.at(u"components"_s) + KeyPath{it.key()};
        checkKeys(it->toMap(), path, keys::of(keys::Component), findings);
        const QVariantList interface = it->toMap().value(u"interface"_s).toList();
        for (qsizetype i = 0; i < interface.size(); ++i) {
            const QVariantMap promotion = interface.at(i).toMap();
            const KeyPath at = path + KeyPath{u"interface"_s, u"#%1"_s.arg(i)};
            checkKeys(promotion, at, keys::of(keys::Promotion), findings);
            checkKeys(promotion.value(u"target"_s).toMap(), at + KeyPath{u"target"_s},
                      keys::of(keys::PromotionTarget), findings);
        }
    }
}

// ------------------------------------------------------------------ definitions

bool isTypeWord(const QVariant &type)
{
    using registry::SDFParameterType;
    const bool isKnown =
        registry::sdfParameterTypeFromString(type.toString()) != SDFParameterType::Float;
    static const QStringList floats{u"decimal"_s, u"float"_s, u"double"_s};
    return isKnown || isNumber(type) || floats.contains(type.toString().trimmed().toLower());
}

void checkParameter(const QVariantMap &parameter, const KeyPath &path, Findings &findings)
{
    checkKeys(parameter, path, keys::of(keys::Parameter), findings);
    checkKeys(parameter.value(u"drag"_s).toMap(), path + KeyPath{u"drag"_s}, keys::of(keys::Drag),
              findings);
    checkKeys(parameter.value(u"gizmo"_s).toMap(), path + KeyPath{u"gizmo"_s},
              keys::of(keys::Gizmo), findings);
    const QVariant type = parameter.value(u"type"_s);
    if (type.isValid() && !isTypeWord(type))
        findings.add(path + KeyPath{u"type"_s},
                     u"%1 is no type of a parameter, so decimal is used"_s.arg(shownValue(type)),
                     model::didYouMean(type.toString(),
                                       {u"decimal"_s, u"float"_s, u"int"_s, u"bool"_s, u"vec2"_s,
                                        u"vec3"_s, u"vec4"_s, u"color"_s, u"string"_s,
                                        u"sdf_child"_s, u"sdf_children"_s},
                                       u"Write decimal, int, bool, vec3 or sdf_children"_s));
}

/// Why a definition is not used; empty when it is.
QString missingOf(const QVariantMap &definition)
{
    QStringList missing;
    for (const QString &key : {u"id"_s, u"name"_s, u"shaderCode"_s}) {
        if (definition.value(key).toString().isEmpty())
            missing.append(u'"' + key + u'"');
    }
    return listed(missing);
}

/// "{name: radius}" behind the "-" of a list is read as a text, or as a map whose first key begins
/// with the brace.
bool isInBraces(const QVariant &entry)
{
    const QVariantMap map = entry.toMap();
    const bool isBracedKey = std::any_of(map.keyBegin(), map.keyEnd(),
                                         [](const QString &key) { return key.startsWith(u'{'); });
    return isBracedKey || entry.toString().startsWith(u'{');
}

void checkDefinition(const QVariantMap &definition, const KeyPath &path, Findings &findings)
{
    const QString id = definition.value(u"id"_s).toString();
    const QString where = u"definitions."_s + (id.isEmpty() ? path.last() : shown(id));
    if (const QString missing = missingOf(definition); !missing.isEmpty())
        findings.addNamed(where, path, u"it has no %1, so it is not used"_s.arg(missing),
                          u"Give it %1"_s.arg(missing));
    checkKeys(definition, path, keys::of(keys::Definition), findings);
    checkKeys(definition.value(u"gizmoGroup"_s).toMap(), path + KeyPath{u"gizmoGroup"_s},
              keys::of(keys::GizmoGroup), findings);
    const QVariantList parameters = definition.value(u"parameters"_s).toList();
    QStringList names;
    for (qsizetype i = 0; i < parameters.size(); ++i) {
        const KeyPath at = path + KeyPath{u"parameters"_s, u"#%1"_s.arg(i)};
        const QString name = parameters.at(i).toMap().value(u"name"_s).toString();
        if (isInBraces(parameters.at(i))) {
            findings.addNamed(
                where, at,
                u"parameter %1 stands in braces, which an entry of a list can't, so it has no name "
                u"and the definition is not used"_s.arg(i + 1),
                u"Write \"- name: its_name\", and its other keys below, each on a line"_s);
            continue;
        }
        if (name.isEmpty() || names.contains(name))
            findings.addNamed(
                where, at,
                name.isEmpty()
                    ? u"parameter %1 has no name, so it is not used"_s.arg(i + 1)
                    : u"two parameters are called \"%1\", so it is not used"_s.arg(shown(name)),
                u"Give each parameter a name of its own"_s);
        names.append(name);
        checkParameter(parameters.at(i).toMap(), at, findings);
    }
}

void checkDefinitions(const SceneSource &source, Findings &findings)
{
    const QVariant definitions = source.block.value(u"definitions"_s);
    const KeyPath path = source.at(u"definitions"_s);
    if (definitions.isValid() && definitions.typeId() != QMetaType::QVariantList)
        return findings.add(path, u"it is no list, so no definition is read"_s,
                            u"Begin each definition with \"- id: its_name\""_s);
    const QVariantList list = definitions.toList();
    for (qsizetype i = 0; i < list.size(); ++i)
        checkDefinition(list.at(i).toMap(), path + KeyPath{u"#%1"_s.arg(i)}, findings);
}

} // namespace

void checkKeys(const QVariantMap &map, const KeyPath &path, const QStringList &known,
               Findings &findings, const QString &otherwise)
{
    for (auto it = map.keyBegin(); it != map.keyEnd(); ++it) {
        if (!known.contains(*it))
            findings.add(path + KeyPath{*it}, u"nothing reads this key"_s,
                         findings.didYouMean(*it, known, otherwise));
    }
}

bool isScene(const QVariantMap &file)
{
    static const QStringList telling{u"corvane"_s,    u"instances"_s, u"items"_s,
                                     u"varset"_s,     u"settings"_s,  u"formatVersion"_s,
                                     u"definitions"_s};
    return std::any_of(telling.cbegin(), telling.cend(),
                       [&file](const QString &key) { return file.contains(key); });
}

void checkBlock(const QVariantMap &file, const SceneSource &source, Findings &findings)
{
    checkTopLevel(file, source, findings);
    checkBlockKeys(source, findings);
    checkUnits(source, findings);
    checkMaterials(source, findings);
    checkComponents(source, findings);
    checkDefinitions(source, findings);
}

} // namespace corvane::check
