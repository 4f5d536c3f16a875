#include "SceneWarnings.h"

#include "CorvaneMain.h"

#include <corvane/check/SceneCheck.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/CorvaneDSLParser.h>

#include <QLoggingCategory>

using namespace Qt::StringLiterals;
using corvane::check::SceneCheck;
using corvane::model::Corvane;
using corvane::model::CorvaneDSLParser;
using corvane::model::ParseResult;

namespace {

/// What the flattening logs of unknown definitions and circles, by their ids, is told by name here.
/// The rules of QT_LOGGING_RULES are stronger.
constexpr auto toldRules = "ondrel.render.flatten.warning=false\n"_L1;

/// With the one line that the model logs meanwhile, of a definition that lacks something.
void registerDefinitions(Corvane &scene)
{
    QLoggingCategory::setFilterRules(toldRules + u"ondrel.model.warning=false\n"_s);
    scene.registerFileScopedDefinitions();
    QLoggingCategory::setFilterRules(toldRules);
}

} // namespace

SceneWarnings::SceneWarnings() = default;
SceneWarnings::~SceneWarnings() = default;

QSharedPointer<Corvane> SceneWarnings::open(const QString &path)
{
    const ParseResult file = CorvaneDSLParser::parseFile(path);
    file.logErrors();
    if (!file.ok())
        return {};
    registerDefinitions(*file.scene);
    m_check = std::make_unique<SceneCheck>(file);
    return file.scene;
}

void SceneWarnings::checkOverrides(const Corvane &scene, const QVariantMap &values)
{
    if (m_check)
        m_check->checkOverrides(scene, values);
}

void SceneWarnings::tell(const Corvane &scene, const corvane::expr::ExpressionManager &expressions)
{
    if (!m_check)
        return;
    m_check->checkExpressions(scene, expressions);
    print(m_check->warnings());
    m_check.reset();
}

void SceneWarnings::tellOfEdited(const ParseResult &file)
{
    if (!file.scene)
        return;
    QLoggingCategory::setFilterRules(toldRules);
    SceneCheck check(file, SceneCheck::Reader::Editor);
    check.checkExpressions(*file.scene);
    SceneWarnings().print(check.warnings());
}

void SceneWarnings::print(const QList<corvane::model::SceneWarning> &warnings)
{
    for (const auto &warning : warnings) {
        const QString line = warning.toString();
        if (m_told.contains(line))
            continue;
        m_told.insert(line);
        CorvaneMain::printError(line);
    }
}
