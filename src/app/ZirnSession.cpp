#include "ZirnSession.h"

#include "CorvaneMain.h"
#include "SceneWarnings.h"

#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/compile/ItemsToNodes.h>
#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/DocumentBlock.h>
#include <corvane/model/SceneMigrator.h>
#include <corvane/ops/CorvaneServiceLocator.h>
#include <corvane/tasks/SceneErrors.h>
#include <corvane/yaml/YamlParser.h>
#include <corvane/zirn/LLMSession.h>
#include <corvane/zirn/ZirnAuthContext.h>
#include <corvane/zirn/ZirnTaskRuntime.h>
#include <store/KeptCopy.h>
#include <store/RegularFile.h>
#include <store/Settings.h>

#include <QCoreApplication>
#include <QEventLoop>

using namespace Qt::StringLiterals;
using corvane::model::Corvane;
using corvane::model::CorvaneDSLParser;
using corvane::model::LogicalScene;
using corvane::ops::CorvaneServiceLocator;
using corvane::zirn::TaskPlan;
using corvane::zirn::TaskPlanResult;

namespace {

/// The document of a version 2 file without what the tree compiles to: variables, settings,
/// materials, definitions.
QSharedPointer<Corvane> documentBeside(const QVariantMap &file)
{
    auto document = Corvane::create();
    corvane::model::DocumentBlock::apply(CorvaneDSLParser::parseLogical(file).documentBlock,
                                         *document);
    document->registerFileScopedDefinitions();
    return document;
}

bool isVersion2File(const QString &path)
{
    const auto bytes = store::readRegularFile(path, CorvaneDSLParser::maxFileSize);
    constexpr int yamlIndent = 2;
    QList<corvane::yaml::YamlParser::ParseError> errors;
    return bytes && corvane::model::SceneMigrator::detectVersion(
                        corvane::yaml::YamlParser(yamlIndent)
                            .parseToVariantMap(QString::fromUtf8(*bytes), errors)) >= 2;
}

bool failToKeep(const QString &kept, const QString &error)
{
    CorvaneMain::printError(u"Error: cannot keep the original as %1: %2"_s.arg(kept, error));
    return false;
}

/// A document without roots of its own draws every item.
QList<QUuid> drawnItems(const Corvane &document)
{
    if (!document.drawsAllItems())
        return document.roots();
    QList<QUuid> items;
    const auto all = document.itemsOfType(corvane::model::ItemTypes::Sdf);
    for (const auto &item : all)
        items.append(item.id);
    return items;
}

/// The ids, each once: those that `order` lists first and in its order, the others as they come.
QList<QUuid> inOrderOf(const QList<QUuid> &order, const QList<QUuid> &ids)
{
    QSet<QUuid> open(ids.cbegin(), ids.cend());
    QList<QUuid> sorted;
    const QList<QUuid> wanted = order + ids;
    for (const QUuid &id : wanted) {
        if (open.remove(id))
            sorted.append(id);
    }
    return sorted;
}

void tell(const QList<corvane::model::SceneWarning> &warnings)
{
    for (const auto &warning : warnings)
        CorvaneMain::printError(warning.toString());
}

/// The user's setting, which says whether a compile tells what became of each node.
bool wantsTrace()
{
    const store::Settings settings({.group = QCoreApplication::applicationName(),
                                    .organisation = QCoreApplication::organizationName(),
                                    .application = QCoreApplication::applicationName()});
    return settings.getCustomSettingBool(u"Corvane/Debug/TraceCompile"_s);
}

} // namespace

std::unique_ptr<ZirnSession> ZirnSession::open(const QString &scenePath)
{
    const auto emptyTree = QSharedPointer<LogicalScene>::create();
    const SceneFile file(scenePath);
    if (scenePath.isNull())
        return std::unique_ptr<ZirnSession>(
            new ZirnSession(file, Corvane::create(), emptyTree, false));
    const auto parsed = SceneWarnings().openToEdit(scenePath);
    if (!parsed.ok())
        return nullptr;
    if (parsed.logicalScene) {
        const auto document = documentBeside(parsed.rawMap);
        return std::unique_ptr<ZirnSession>(
            new ZirnSession(file, document, parsed.logicalScene, true));
    }
    parsed.scene->registerFileScopedDefinitions();
    return std::unique_ptr<ZirnSession>(new ZirnSession(file, parsed.scene, emptyTree, false));
}

ZirnSession::ZirnSession(const SceneFile &file, const QSharedPointer<Corvane> &document,
                         const QSharedPointer<LogicalScene> &tree, bool isVersion2)
    : m_file(file)
    , m_document(document)
    , m_tree(tree)
    , m_isVersion2(isVersion2)
    , m_openedRoots(drawnItems(*document))
    , m_drewAllItems(document->drawsAllItems())
    , m_executor(document)
{
    if (!isVersion2)
        tell(corvane::model::itemsToNodes(*m_document, *m_tree));
    m_executor.setLogicalScene(m_tree.data());
    auto &locator = CorvaneServiceLocator::instance();
    locator.setScene(m_document);
    locator.setExecutor(&m_executor);
    const auto errors = corvane::zirn::scanSceneErrors(*m_document, m_tree.data());
    locator.setUnresolvedExpressionCount(int(errors.size()));
}

ZirnSession::~ZirnSession()
{
    CorvaneServiceLocator::instance().clear();
}

std::optional<TaskPlanResult> ZirnSession::run(const TaskPlan &plan, QString &rejection)
{
    using namespace corvane::zirn;
    FileScopedAuthContext caller;
    ZirnTaskRuntime runtime;
    runtime.setAuthContext(&caller);
    std::optional<TaskPlanResult> result;
    QEventLoop loop;
    QObject::connect(&runtime, &ZirnTaskRuntime::planCompleted, &loop,
                     [&](const TaskPlanResult &completed) {
                         result = completed;
                         loop.quit();
                     });
    const Operator submitter{
        .type = OperatorType::Directive, .id = u"headless-cli"_s, .displayName = u"headless-cli"_s};
    const bool isAccepted = runtime.submit(plan, submitter);
    loop.exec(); // a plan that was turned away completes too
    if (isAccepted)
        return result;
    rejection = corvane::zirn::LLMSession::formatResultForLLM(*result);
    return std::nullopt;
}

void ZirnSession::compile()
{
    if (!m_tree->instances().isEmpty()) {
        const QList<QUuid> kept = drawnItems(*m_document);
        using corvane::model::LogicalSceneCompiler;
        LogicalSceneCompiler::setTraceSource(&wantsTrace);
        LogicalSceneCompiler compiler;
        compiler.setSource(m_tree.data());
        compiler.setTarget(m_document.data());
        compiler.fullCompile();
        m_document->setRoots(inOrderOf(m_openedRoots, kept + m_document->roots()));
    }
    // Nothing but what was drawn without a word is drawn.
    if (m_drewAllItems && m_document->roots().size() ==
                              m_document->itemsOfType(corvane::model::ItemTypes::Sdf).size())
        m_document->drawAllItems();
    corvane::expr::ExpressionManager expressions(m_document.data());
    expressions.evaluateAll();
}

bool ZirnSession::save(const QString &path)
{
    if (!m_file.isAt(path))
        return m_document->saveToFile(path);
    QString error;
    if (m_file.replace([this, &path] { return saveOver(path); }, error))
        return true;
    if (!error.isEmpty())
        CorvaneMain::printError(u"Error: cannot save over %1: %2"_s.arg(path, error));
    return false;
}

bool ZirnSession::canSave(const QString &path) const
{
    QString error;
    if (!m_file.isAt(path))
        return true;
    if (!m_file.isPlain()) {
        CorvaneMain::printError(
            u"Error: %1 is no file that can be saved back to; name another with -o"_s.arg(path));
        return false;
    }
    const QString kept = keptPath(path);
    return store::canKeepCopy(kept, &error) || failToKeep(kept, error);
}

bool ZirnSession::saveOver(const QString &path) const
{
    if (!m_file.isPlain())
        return m_document->saveToFile(path);
    const QString kept = keptPath(path);
    QString error;
    if (!store::keepCopy(m_file.path(), kept, &error))
        return failToKeep(kept, error);
    if (!m_document->saveToFile(path))
        return false;
    CorvaneMain::printError(
        (m_isVersion2 ? u"The scene is saved in its compiled form; the original is kept as "_s
                      : u"The scene as it was is kept as "_s) +
        kept);
    return true;
}

// A tree can't be made again from what it was compiled to: the next save, over the compiled form,
// leaves it alone.
QString ZirnSession::keptPath(const QString &path) const
{
    const QString usual = path + u".bak"_s;
    return !m_isVersion2 && isVersion2File(usual) ? path + u".v1.bak"_s : usual;
}
