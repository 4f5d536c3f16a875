#include "SceneWarnings.h"

#include "CorvaneMain.h"

#include <corvane/check/SceneCheck.h>
#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/DocumentBlock.h>
#include <corvane/shader/DefinitionFault.h>

#include <QLoggingCategory>

using namespace Qt::StringLiterals;
using corvane::check::SceneCheck;
using corvane::model::Corvane;
using corvane::model::CorvaneDSLParser;
using corvane::model::DocumentBlock;
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

/// The checks look at the file before its scene is made, while its map is still there. They know
/// the definitions of the file by a document that has nothing else and goes at the end.
ParseResult SceneWarnings::read(const QString &path, Use use)
{
    const auto definitions = Corvane::create();
    const auto reader = use == Use::Edit ? SceneCheck::Reader::Editor : SceneCheck::Reader::Command;
    ParseResult file = CorvaneDSLParser::parseFile(path, nullptr, [&](const ParseResult &read) {
        const QVariantMap block = read.rawMap.value(u"corvane"_s).toMap();
        DocumentBlock::applyDefinitions(block.isEmpty() ? read.rawMap : block, *definitions);
        registerDefinitions(*definitions);
        m_check = std::make_unique<SceneCheck>(read, reader);
        m_definitionLines = corvane::check::DefinitionLines(read);
    });
    definitions->unregisterFileScopedDefinitions();
    file.logErrors();
    if (m_check)
        m_check->addReaderWarnings(file.warnings);
    return file;
}

QSharedPointer<Corvane> SceneWarnings::open(const QString &path)
{
    const ParseResult file = read(path, Use::Command);
    if (!file.ok())
        return {};
    registerDefinitions(*file.scene);
    return file.scene;
}

ParseResult SceneWarnings::openToEdit(const QString &path)
{
    const ParseResult file = read(path, Use::Edit);
    if (!file.ok())
        return file;
    registerDefinitions(*file.scene);
    m_check->checkExpressions(*file.scene);
    print(m_check->warnings());
    m_check.reset();
    file.scene->unregisterFileScopedDefinitions();
    return file;
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

void SceneWarnings::print(const QList<corvane::shader::DefinitionFault> &faults)
{
    QList<corvane::model::SceneWarning> warnings;
    for (const auto &fault : faults)
        warnings.append(m_definitionLines.warningOf(fault));
    print(warnings);
}

QString SceneWarnings::textOf(const corvane::shader::DefinitionFault &fault) const
{
    const QString warning = m_definitionLines.warningOf(fault).toString();
    return warning.sliced(warning.indexOf(u": "_s) + 2);
}
