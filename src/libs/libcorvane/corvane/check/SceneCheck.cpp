#include <corvane/check/SceneCheck.h>

#include <corvane/check/BlockCheck.h>
#include <corvane/check/ExpressionCheck.h>
#include <corvane/check/GraphCheck.h>
#include <corvane/check/LayoutCheck.h>
#include <corvane/check/NodeCheck.h>
#include <corvane/check/SettingsCheck.h>
#include <corvane/check/VariableCheck.h>
#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/model/SceneMigrator.h>

using namespace Qt::StringLiterals;

namespace corvane::check {

namespace {

SceneSource sourceOf(const QVariantMap &file)
{
    SceneSource source;
    source.version = model::SceneMigrator::detectVersion(file) < 2 ? 1 : 2;
    source.block = file.value(u"corvane"_s).toMap();
    if (source.block.isEmpty())
        source.block = file;
    else
        source.path = {u"corvane"_s};
    source.variables = variableNames(source.block);
    return source;
}

} // namespace

SceneCheck::SceneCheck(const model::ParseResult &file, Reader reader)
    : m_source(sourceOf(file.rawMap))
    , m_reader(reader)
    , m_text(file.text)
{
    if (!isScene(file.rawMap)) {
        m_findings.addNamed(u"file"_s, {},
                            file.rawMap.isEmpty() ? u"it holds nothing, so nothing is drawn"_s
                                                  : u"it is no scene, so nothing is drawn"_s,
                            u"A scene has \"instances\" in a \"corvane\" block"_s);
        return;
    }
    checkLayout(file.remarks, m_findings);
    checkBlock(file.rawMap, m_source, m_findings);
    checkVariables(m_source, m_findings);
    checkSettings(m_source, m_findings);
    const QList<NodeGroup> groups = nodeGroupsOf(m_source);
    for (const NodeGroup &group : groups) {
        NodeCheck(m_source, m_findings).check(group);
        GraphCheck(m_source, group, m_findings).check(group.path == groups.first().path);
    }
    if (groups.first().nodes.isEmpty())
        m_findings.addNamed(u"scene"_s, m_source.path,
                            u"it has no instances, so nothing is drawn"_s,
                            u"List them under \"instances\" in the \"corvane\" block"_s);
    if (m_source.version >= 2 && reader == Reader::Command)
        checkUnreadSettings();
    // What is left to check is about variables. The rest takes more memory than the scene.
    for (const auto key : {"instances"_L1, "items"_L1, "components"_L1, "definitions"_L1})
        m_source.block.remove(key);
}

void SceneCheck::addReaderWarnings(const QStringList &warnings)
{
    checkReaderWarnings(warnings, m_findings);
}

void SceneCheck::checkUnreadSettings()
{
    const QVariantMap settings = m_source.block.value(u"settings"_s).toMap();
    if (settings.value(u"export"_s).toMap().isEmpty())
        return;
    m_findings.add(m_source.at(u"settings"_s) + KeyPath{u"export"_s},
                   u"the settings of a version 2 file are not read, so the box is the default one, "
                   "-5 to 5"_s,
                   u"Save the scene as version 1 with \"corvane zirn\""_s);
}

void SceneCheck::checkOverrides(const model::Corvane &scene, const QVariantMap &values)
{
    check::checkOverrides(m_source, scene, values, m_findings);
}

void SceneCheck::checkExpressions(const model::Corvane &scene,
                                  const expr::ExpressionManager &expressions)
{
    if (m_source.version >= 2)
        return checkExpressions(scene);
    ExpressionCheck(m_source, m_findings).check(scene, expressions);
}

void SceneCheck::checkExpressions(const model::Corvane &scene)
{
    const bool tellsUnread = m_source.version >= 2 && m_reader == Reader::Command;
    ExpressionCheck(m_source, m_findings).checkCopy(scene, tellsUnread);
}

QList<model::SceneWarning> SceneCheck::warnings() const
{
    return m_findings.warnings(m_text);
}

} // namespace corvane::check
